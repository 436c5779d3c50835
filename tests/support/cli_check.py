"""Shared by the command-line test scripts: runs tessivo, records failed
checks and reports them."""
import os
import subprocess
import sys

tessivo = None
failures = []


def run(*args, stdin=b""):
    """Exit status, stdout bytes and stderr lines of one tessivo call."""
    r = subprocess.run([tessivo, *args], input=stdin, capture_output=True, check=False)
    return r.returncode, r.stdout, r.stderr.decode("utf-8", "replace").splitlines()


def check(what, condition, detail=""):
    if not condition:
        failures.append(f"{what} {detail}")


def finish():
    for f in failures:
        print("FAIL:", f)
    sys.exit(1 if failures else 0)


SKIP = 77


def olefile_and_corpus_messages(argv, usage):
    """For the scripts that check tessivo against olefile over the corpus:
    (tessivo, olefile module, sorted .msg paths) from argv (TESSIVO CORPUS),
    or the exit status to return: 2 for a usage error, SKIP without olefile
    or without corpus messages."""
    if len(argv) != 3:
        print(usage, file=sys.stderr)
        return 2
    program, corpus = argv[1], argv[2]
    try:
        import olefile
    except ImportError:
        print("skipped: the olefile module is missing (Debian package python3-olefile)")
        return SKIP
    if not os.path.isdir(corpus):
        print(f"skipped: no corpus at {corpus}")
        return SKIP
    files = sorted(os.path.join(d, f) for d, _, names in os.walk(corpus) for f in names if f.endswith(".msg"))
    if not files:
        print(f"skipped: no .msg files under {corpus}")
        return SKIP
    return program, olefile, files
