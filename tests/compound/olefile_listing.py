#!/usr/bin/env python3
"""Compares `tessivo ls` with the listing an independent reader (olefile) finds
for every .msg file of the corpus: the same storages and streams by full path,
and the same declared size for each stream, as sorted listings.

Usage: olefile_listing.py TESSIVO CORPUS_DIR
Exits 77 (skipped) when the corpus or the olefile module is missing.

Where the readers differ by design:
- tessivo keeps the low byte of each name unit and drops control characters,
  so olefile's names are compared without characters below U+0020; a name
  that does not survive this (not ASCII) becomes empty, and after an entry
  "MsoDataStore" empty names are left out and the entries after them
  renumbered. The contents of a storage holding such a name are not compared.
- olefile reports sizes in 4096-byte-sector files with the high 32 bits of the
  size field; tessivo declares the low 32 bits, which are compared.
"""
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from cli_check import olefile_and_corpus_messages  # noqa: E402


def survives_8bit_reading(name):
    low = bytes(ord(c) & 0xFF for c in name if (ord(c) & 0xFF) >= 0x20)
    try:
        low.decode("utf-8")
    except UnicodeDecodeError:
        return False
    return all(ord(c) < 0x80 for c in name) or low.decode("utf-8") == name


def olefile_listing(olefile, path):
    """The sorted listing, and the storages whose contents cannot be compared."""
    entries, incomparable = [], set()
    with olefile.OleFileIO(path) as ole:
        for parts in ole.listdir(streams=True, storages=True):
            clean = ["".join(c for c in p if ord(c) >= 0x20) for p in parts]
            full = "/" + "/".join(clean)
            if not survives_8bit_reading(parts[-1]):
                incomparable.add("/" + "/".join(clean[:-1]))
            if ole.get_type(parts) == olefile.STGTY_STREAM:
                entries.append((full, ole.get_size(parts) & 0xFFFFFFFF))
            else:
                entries.append((full, None))
    return sorted(entries), incomparable


def without(entries, storages):
    return [e for e in entries if not any(e[0].startswith(s + "/") for s in storages)]


def tessivo_listing(tessivo, path):
    run = subprocess.run([tessivo, "ls", path], capture_output=True, check=False)
    if run.returncode != 0:
        raise RuntimeError(f"tessivo ls {path}: exit {run.returncode}: {run.stderr.decode(errors='replace')}")
    entries = []
    for line in run.stdout.decode("utf-8").splitlines():
        name, _, size = line.partition("\t")
        entries.append((name, int(size) if size else None))
    return sorted(entries)


def main():
    found = olefile_and_corpus_messages(sys.argv, __doc__)
    if isinstance(found, int):
        return found
    tessivo, olefile, files = found
    failures = 0
    for path in files:
        theirs, incomparable = olefile_listing(olefile, path)
        ours = tessivo_listing(tessivo, path)
        if incomparable:
            print(f"note {path}: names that are not ASCII under {sorted(incomparable)}: their contents are not compared")
            ours, theirs = without(ours, incomparable), without(theirs, incomparable)
        if ours != theirs:
            failures += 1
            only_ours = sorted(set(ours) - set(theirs))
            only_theirs = sorted(set(theirs) - set(ours))
            print(f"MISMATCH {path}\n  only tessivo: {only_ours[:10]}\n  only olefile: {only_theirs[:10]}")
    print(f"{len(files) - failures} of {len(files)} listings agree")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
