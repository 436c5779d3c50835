#!/usr/bin/env python3
"""Damaged copies of every corpus .msg through the message reader and
`tessivo dump`: each file cut at every 512-byte boundary, and copies with
random byte flips. The reader runs in the replayer of the fuzz harness
(fuzz_msg: ReadMSG, its full dictionary, the named-property map and the
summary; built with sanitizers in the asan preset); `tessivo dump` must exit 0
or 1, never by a signal, and print one valid JSON line per file.

Usage: damaged_corpus.py TESSIVO FUZZ_MSG CORPUS_DIR [--quick] [--flips N] [--seed S]
  --quick    cut only files up to 16 KiB (every file still gets its flips)
  --flips N  flipped copies per file (default 20), 1 to 8 bytes each
Exits 77 (skipped) when the corpus is missing.
"""
import argparse
import json
import os
import random
import subprocess
import sys
import tempfile
import time

SKIP = 77
STEP = 512
BATCH = 64
QUICK_LIMIT = 16 * 1024


def damaged_copies(path, data, quick, flips, rng):
    """(name, bytes) of each damaged copy of one file."""
    if not quick or len(data) <= QUICK_LIMIT:
        for size in range(0, len(data), STEP):
            yield f"cut{size}", data[:size]
    for n in range(flips):
        copy = bytearray(data)
        for _ in range(rng.randint(1, 8)):
            copy[rng.randrange(len(copy))] ^= rng.randint(1, 255)
        yield f"flip{n}", bytes(copy)


def check_batch(tessivo, replayer, folder, names, failures):
    """Runs the reader and dump over one folder of damaged copies."""
    paths = [os.path.join(folder, n) for n in names]
    r = subprocess.run([replayer, folder], capture_output=True, timeout=600, check=False)
    if r.returncode != 0:
        failures.append(f"reader: exit {r.returncode} on {folder}: {r.stderr.decode(errors='replace')[-2000:]}")
    r = subprocess.run([tessivo, "dump", *paths], capture_output=True, timeout=600, check=False)
    if r.returncode not in (0, 1):
        failures.append(f"dump: exit {r.returncode}: {r.stderr.decode(errors='replace')[-2000:]}")
        return
    # JSON strings may hold U+2028 and other characters str.splitlines() would split at.
    lines = r.stdout.decode("utf-8").split("\n")[:-1]
    if len(lines) != len(paths):
        failures.append(f"dump: {len(lines)} lines for {len(paths)} files")
    for line, path in zip(lines, paths):
        try:
            record = json.loads(line)
        except ValueError:
            failures.append(f"dump: not JSON for {path}: {line[:200]}")
            continue
        if record.get("path") != path or not isinstance(record.get("ok"), bool):
            failures.append(f"dump: bad line for {path}: {line[:200]}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tessivo")
    parser.add_argument("replayer")
    parser.add_argument("corpus")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--flips", type=int, default=20)
    parser.add_argument("--seed", type=int, default=20240305)
    args = parser.parse_args()
    if not os.path.isdir(args.corpus):
        print(f"skipped: no corpus at {args.corpus}")
        return SKIP
    files = sorted(os.path.join(d, f) for d, _, names in os.walk(args.corpus) for f in names if f.endswith(".msg"))
    rng = random.Random(args.seed)
    failures, copies, start = [], 0, time.monotonic()
    with tempfile.TemporaryDirectory() as work:
        for index, path in enumerate(files):
            data = open(path, "rb").read()
            batch = []
            folder = os.path.join(work, str(index))

            def flush():
                if batch:
                    check_batch(args.tessivo, args.replayer, folder, batch, failures)
                    for name in batch:
                        os.remove(os.path.join(folder, name))
                    batch.clear()

            os.makedirs(folder)
            for name, content in damaged_copies(path, data, args.quick, args.flips, rng):
                with open(os.path.join(folder, name), "wb") as f:
                    f.write(content)
                batch.append(name)
                copies += 1
                if len(batch) == BATCH:
                    flush()
            flush()
    for f in failures:
        print("FAIL:", f)
    print(f"{copies} damaged copies of {len(files)} messages in {time.monotonic() - start:.0f} s: "
          f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
