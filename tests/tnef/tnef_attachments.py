#!/usr/bin/env python3
"""Compares the attachments `tessivo attachments` saves from every TNEF stream
of the corpus (.tnef files and winmail.dat) with those Debian's tnef program
saves (`tnef -C DIR -f FILE`), as multisets of file contents, byte for byte.

Where tnef saves nothing (or stops on the file) there is nothing to compare.
Where the two differ, the file must be one that EXPLAINED names, with the rule
of the TNEF reader that causes the difference; tessivo must then save exactly
the number given there, each file one that tnef saves too. Every stream must
also list (`tessivo attachments --list`) with exit status 0, each attachment
with the size of the file saved for it.

Usage: tnef_attachments.py TESSIVO CORPUS_DIR
Exits 77 (skipped) when the corpus or the tnef program is missing.
"""
import collections
import json
import os
import shutil
import subprocess
import sys
import tempfile

SKIP = 77
DATA_IN_PROPERTIES = ("the attachments' bytes lie only in their MAPI properties (attached data or object): "
                      "the reader takes an attachment's bytes from its \"Attach Data\" record alone and leaves "
                      "attachments without one out of \"AttachmentList\"")
# Corpus path (relative) -> (files tessivo saves, the rule that makes it differ from tnef).
EXPLAINED = {
    "tnef/MAPI_ATTACH_DATA_OBJ.tnef": (0, DATA_IN_PROPERTIES),
    "tnef/MAPI_OBJECT.tnef": (0, DATA_IN_PROPERTIES),
    "tnef/data-before-name.tnef": (0, "the first attachment's \"Attach Data\" record is empty, and a record of size 0 "
                                      "ends the stream: nothing after it is read"),
}


def contents(folder):
    out = []
    for d, _, names in os.walk(folder):
        for name in names:
            with open(os.path.join(d, name), "rb") as f:
                out.append(f.read())
    return out


def tessivo_run(tessivo, *args):
    r = subprocess.run([tessivo, *args], capture_output=True, check=False, timeout=60)
    if r.returncode != 0:
        raise RuntimeError(f"tessivo {' '.join(args)}: exit {r.returncode}: {r.stderr.decode(errors='replace')}")
    return r.stdout.decode()


def compare(tessivo, path, rel, workdir):
    """The problems found, and a note for an explained difference."""
    theirs_dir, ours_dir = os.path.join(workdir, "tnef"), os.path.join(workdir, "tessivo")
    for d in (theirs_dir, ours_dir):
        shutil.rmtree(d, ignore_errors=True)
        os.makedirs(d)
    subprocess.run(["tnef", "-C", theirs_dir, "-f", path], capture_output=True, check=False, timeout=60)
    theirs = contents(theirs_dir)
    saved = tessivo_run(tessivo, "attachments", "--out", ours_dir, path).splitlines()
    ours = [open(p, "rb").read() for p in saved]
    listed = json.loads(tessivo_run(tessivo, "attachments", "--list", path))["attachments"]
    problems = []
    if [a["size"] for a in listed] != [len(c) for c in ours]:
        problems.append(f"--list sizes {[a['size'] for a in listed]}, saved {[len(c) for c in ours]}")
    if not theirs or collections.Counter(ours) == collections.Counter(theirs):
        return problems, None, len(ours) if theirs else 0
    if rel in EXPLAINED:
        count, rule = EXPLAINED[rel]
        if len(ours) == count and not collections.Counter(ours) - collections.Counter(theirs):
            return problems, f"{len(ours)} of tnef's {len(theirs)}: {rule}", 0
    problems.append(f"tessivo saves {len(ours)} files ({sorted(len(c) for c in ours)} bytes), "
                    f"tnef {len(theirs)} ({sorted(len(c) for c in theirs)} bytes)")
    return problems, None, 0


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    tessivo, corpus = sys.argv[1], sys.argv[2]
    if not shutil.which("tnef"):
        print("skipped: the tnef program is missing (Debian package tnef)")
        return SKIP
    if not os.path.isdir(corpus):
        print(f"skipped: no corpus at {corpus}")
        return SKIP
    files = sorted(os.path.join(d, f) for d, _, names in os.walk(corpus) for f in names
                   if f.endswith(".tnef") or f.endswith(".dat"))
    if not files:
        print(f"skipped: no TNEF streams under {corpus}")
        return SKIP
    failures, explained, compared = 0, 0, 0
    with tempfile.TemporaryDirectory() as workdir:
        for path in files:
            rel = os.path.relpath(path, corpus)
            problems, note, agreed = compare(tessivo, path, rel, workdir)
            compared += agreed
            failures += 1 if problems else 0
            explained += 1 if note and not problems else 0
            if problems:
                print(f"MISMATCH {rel}")
                for line in problems:
                    print(f"  {line}")
            elif note:
                print(f"explained {rel}: {note}")
    print(f"{len(files) - failures} of {len(files)} streams agree with tnef ({explained} through the rules above); "
          f"{compared} attachments saved byte for byte as tnef saves them")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
