#!/usr/bin/env python3
"""Checks `tessivo ls` and `tessivo cat`: output, exit statuses, and exactly one
line on stderr for a refused file.

Usage: cli_ls_cat.py TESSIVO SAMPLE_MSG
"""
import os
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from cli_check import check, finish, run  # noqa: E402
import cli_check  # noqa: E402


def refused(path, reason):
    code, out, err = run("ls", path)
    check(f"ls {reason}: exit 1", code == 1, code)
    check(f"ls {reason}: one line naming the file", len(err) == 1 and path in err[0] and reason in err[0], err)
    check(f"ls {reason}: nothing on stdout", out == b"")


def main():
    code, out, err = run("ls", SAMPLE)
    lines = out.decode("utf-8").splitlines()
    check("ls sample: exit 0", code == 0, (code, err))
    check("ls sample: stream with size", "/__substg1.0_0037001F\t32" in lines, lines)
    check("ls sample: storage without size", "/__recip_version1.0_#00000000" in lines, lines)
    check("ls sample: quiet", err == [], err)

    code, out, err = run("cat", SAMPLE, "__substg1.0_0037001F")
    check("cat subject: exit 0", code == 0, (code, err))
    check("cat subject: whole small sectors", len(out) == 64, len(out))
    check("cat subject: text", out.decode("utf-16-le").rstrip("\0") == "Lunch on Friday?", out)

    code, out, err = run("cat", SAMPLE, "/__recip_version1.0_#00000000/__substg1.0_3001001F")
    check("cat nested: exit 0", code == 0 and out.decode("utf-16-le").rstrip("\0") == "Sam Okafor", (code, out))

    for path in ("__substg1.0_FFFF001F", "__recip_version1.0_#00000000"):
        code, out, err = run("cat", SAMPLE, path)
        check(f"cat {path}: exit 1", code == 1, code)
        check(f"cat {path}: one line", len(err) == 1 and "no such stream" in err[0], err)

    code, out, err = run("cat", "-v", SAMPLE, "missing")
    check("cat -v: library warning shown", any("Warning: Failed to initialize stream: missing" in l for l in err), err)

    sample = open(SAMPLE, "rb").read()
    with tempfile.TemporaryDirectory() as tmp:
        def write(name, data):
            path = os.path.join(tmp, name)
            with open(path, "wb") as f:
                f.write(data)
            return path

        refused(write("short.msg", sample[:511]), "too short for a compound document (fewer than 512 bytes)")
        refused(write("zeros.msg", bytes(1024)), "wrong signature: not a compound document")
        bad = bytearray(sample)
        bad[56:60] = (2048).to_bytes(4, "little")
        refused(write("threshold.msg", bytes(bad)), "invalid header or damaged structure")
        refused(write("empty.msg", b""), "empty file")
        code, out, err = run("ls", os.path.join(tmp, "absent.msg"))
        check("ls absent: exit 1 and one line", code == 1 and len(err) == 1, (code, err))

    code, out, err = run("ls")
    check("ls without FILE: usage error", code == 2, code)
    code, out, err = run("cat", SAMPLE)
    check("cat without PATH: usage error", code == 2, code)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    cli_check.tessivo, SAMPLE = sys.argv[1], sys.argv[2]
    main()
    finish()
