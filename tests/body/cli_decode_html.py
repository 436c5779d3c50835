#!/usr/bin/env python3
"""Checks the html kind of `tessivo decode`: the example message's HTML body to
text, and exactly one line on stderr for bytes that are not UTF-8.

Usage: cli_decode_html.py TESSIVO SAMPLE_MSG
"""
import subprocess
import sys

failures = []


def run(*args, stdin=b""):
    r = subprocess.run([TESSIVO, *args], input=stdin, capture_output=True, check=False)
    return r.returncode, r.stdout, r.stderr.decode("utf-8", "replace").splitlines()


def check(what, condition, detail=""):
    if not condition:
        failures.append(f"{what} {detail}")


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
    TESSIVO, SAMPLE = sys.argv[1], sys.argv[2]
    main()
    for f in failures:
        print("FAIL:", f)
    sys.exit(1 if failures else 0)
