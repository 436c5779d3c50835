#!/usr/bin/env python3
"""Checks the MIME kinds of `tessivo decode`: mime-header, qp and base64, their
output bytes, and one line on stderr with exit 1 for malformed input.

Usage: cli_decode_mime.py TESSIVO
"""
import os
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from cli_check import check, finish, run  # noqa: E402
import cli_check  # noqa: E402


def expect_output(kind, stdin, expected):
    code, out, err = run("decode", kind, stdin=stdin)
    check(f"{kind} {stdin!r}: exit 0", code == 0 and err == [], (code, err))
    check(f"{kind} {stdin!r}: output", out == expected, out)


def expect_failure(kind, stdin, reason):
    code, out, err = run("decode", kind, stdin=stdin)
    check(f"{kind} {stdin!r}: exit 1", code == 1, code)
    check(f"{kind} {stdin!r}: one line with the reason", len(err) == 1 and reason in err[0], err)
    check(f"{kind} {stdin!r}: nothing on stdout", out == b"", out)


def main():
    expect_output("mime-header", b"Re: =?iso-8859-1?Q?Caf=E9?= =?UTF-8?B?w6k=?=\n", "Re: Café é\n".encode())
    expect_output("mime-header", b"no words", b"no words")
    expect_output("qp", b"a=3Db=\r\nc=00\xff", b"a=bc\x00\xff")
    expect_failure("qp", b"a=3db", "invalid quoted-printable")
    expect_output("base64", b"TWFu\r\nTWE=\r\n", b"ManMa")
    expect_failure("base64", b"TWE", "invalid base64")

    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "body.qp")
        with open(path, "wb") as f:
            f.write(b"=3G")
        code, _, err = run("decode", "qp", path)
        check("qp from a file: the file is named", code == 1 and len(err) == 1 and path in err[0], (code, err))


if __name__ == "__main__":
    cli_check.tessivo = sys.argv[1]
    main()
    finish()
