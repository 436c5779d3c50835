#!/usr/bin/env python3
"""Checks the RTF kinds of `tessivo decode`: output, exit statuses, and exactly
one line on stderr for input that cannot be decoded.

Usage: cli_decode_rtf.py TESSIVO SAMPLE_MSG
"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from cli_check import check, finish, run  # noqa: E402
import cli_check  # noqa: E402


def refused(kind, stdin, reason):
    code, out, err = run("decode", kind, stdin=stdin)
    check(f"{kind} {reason}: exit 1", code == 1, code)
    check(f"{kind} {reason}: one line naming stdin", len(err) == 1 and "stdin" in err[0] and reason in err[0], err)
    check(f"{kind} {reason}: nothing on stdout", out == b"")


def main():
    code, body, err = run("cat", SAMPLE, "__substg1.0_10090102")
    check("cat compressed body: exit 0", code == 0, (code, err))

    code, rtf, err = run("decode", "lzfu", stdin=body)
    check("lzfu: exit 0", code == 0, (code, err))
    check("lzfu: RTF out", rtf.startswith(b"{\\rtf"), rtf[:20])
    # The decoded body has exactly the raw size of the header.
    check("lzfu: raw size", len(rtf) == int.from_bytes(body[4:8], "little"), len(rtf))

    code, text, err = run("decode", "rtf", "-", stdin=rtf)
    check("rtf: exit 0", code == 0, (code, err))
    words = text.decode("utf-8").split()
    check("rtf: text out", len(words) > 3 and not any(w.startswith("\\") for w in words), words[:10])

    refused("lzfu", rtf, "not compressed RTF")
    refused("rtf", b"plain text", "not RTF")
    refused("html-in-rtf", rtf, "no HTML")

    html_rtf = (b"{\\rtf1\\ansi\\ansicpg1252\\fromhtml1 \\deff0{\\fonttbl{\\f0\\fswiss Arial;}}"
                b"{\\*\\htmltag64 <p>}\\htmlrtf {\\htmlrtf0 Hi\\htmlrtf }\\htmlrtf0 {\\*\\htmltag72 </p>}}")
    code, html, err = run("decode", "html-in-rtf", stdin=html_rtf)
    check("html-in-rtf: exit 0", code == 0, (code, err))
    check("html-in-rtf: tags out", html == b"<p></p>", html)

    code, out, err = run("decode", "no-such-kind", stdin=b"x")
    check("unknown kind: exit 2", code == 2, (code, err))
    code, out, err = run("decode", "rtf", "/nonexistent/file.rtf")
    check("missing file: exit 1 naming it", code == 1 and len(err) == 1 and "/nonexistent/file.rtf" in err[0], err)


if __name__ == "__main__":
    cli_check.tessivo, SAMPLE = sys.argv[1], sys.argv[2]
    main()
    finish()
