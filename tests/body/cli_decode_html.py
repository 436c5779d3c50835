#!/usr/bin/env python3
"""Checks the html kind of `tessivo decode`: the example message's HTML body to
text, and exactly one line on stderr for bytes that are not UTF-8.

Usage: cli_decode_html.py TESSIVO SAMPLE_MSG
"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from cli_check import check, finish, run  # noqa: E402
import cli_check  # noqa: E402


def main():
    code, html, err = run("cat", SAMPLE, "__substg1.0_10130102")
    check("cat HTML body: exit 0", code == 0, (code, err))

    code, text, err = run("decode", "html", stdin=html)
    check("html: exit 0", code == 0, (code, err))
    lines = text.decode("utf-8").split("\n")
    check("html: paragraphs on their own lines", lines[:2] == ["Hi Sam,", ""], lines[:3])
    check("html: no markup", b"<" not in text and b"Friday?" in text, text[:80])

    code, text, err = run("decode", "html", stdin="<p>caf\u00e9</p>".encode("cp1252"))
    check("html not UTF-8: exit 1", code == 1, code)
    check("html not UTF-8: one line naming stdin", len(err) == 1 and "stdin" in err[0] and "not UTF-8" in err[0], err)
    check("html not UTF-8: nothing on stdout", text == b"")


if __name__ == "__main__":
    cli_check.tessivo, SAMPLE = sys.argv[1], sys.argv[2]
    main()
    finish()
