"""Shared by the command-line test scripts: runs tessivo, records failed
checks and reports them."""
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
