#!/usr/bin/env python3
"""Time and peak memory of `tessivo ls` on damaged copies of the corpus messages.

Each copy has random bytes of its directory sectors replaced (a fixed seed, so
runs repeat). Prints, per message, the worst copy against the bounds of
2n + 16 MB of memory and 100 ms per MB of file; the time is that beyond
listing the undamaged message (which is mostly starting the process), and a
file counts as at least 1 MB.

Usage: bench/ls_damaged.py TESSIVO [CORPUS] [COPIES]
"""
import os
import random
import struct
import subprocess
import sys
import time
import tempfile


def directory_sectors(data):
    """Byte ranges of the directory's sectors, following the allocation table."""
    shift = struct.unpack_from("<H", data, 30)[0]
    size = 1 << shift
    count = struct.unpack_from("<I", data, 44)[0]
    table_sectors = list(struct.unpack_from("<109I", data, 76))[:count]
    master, masters = struct.unpack_from("<II", data, 68)
    while len(table_sectors) < count and masters > 0:
        words = struct.unpack_from("<%dI" % (size // 4), data, (master + 1) * size)
        table_sectors += words[:-1]
        master, masters = words[-1], masters - 1
    table = []
    for s in table_sectors[:count]:
        table += struct.unpack_from("<%dI" % (size // 4), data, (s + 1) * size)
    ranges, seen = [], set()
    s = struct.unpack_from("<I", data, 48)[0]
    while s < len(table) and s not in seen and (s + 2) * size <= len(data):
        seen.add(s)
        ranges.append(((s + 1) * size, (s + 2) * size))
        s = table[s]
    return ranges


def measure(tessivo, path, runs=3):
    """Peak kilobytes and the best of runs wall-clock seconds of `tessivo ls path`."""
    peak, best = 0, float("inf")
    for _ in range(runs):
        start = time.monotonic()
        out = subprocess.run(["/usr/bin/time", "-f", "%M", tessivo, "ls", path],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True).stderr
        best = min(best, time.monotonic() - start)
        peak = max(peak, int(out.strip().splitlines()[-1]))
    return peak, best


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    tessivo = sys.argv[1]
    corpus = sys.argv[2] if len(sys.argv) > 2 else os.path.join(os.path.dirname(__file__), "..", "..", "shared", "corpus")
    copies = int(sys.argv[3]) if len(sys.argv) > 3 else 20
    rng = random.Random(14)
    files = sorted(os.path.join(d, f) for d, _, fs in os.walk(corpus) for f in fs if f.lower().endswith(".msg"))
    worst_memory = worst_time = 0.0
    print("%-44s %9s %10s %10s %9s" % ("message", "bytes", "peak-KB", "bound-KB", "extra ms/MB"))
    with tempfile.TemporaryDirectory() as work:
        for path in files:
            data = open(path, "rb").read()
            ranges = directory_sectors(data)
            if not ranges:
                continue
            n = len(data)
            bound = (2 * n + 16 * 1024 * 1024) // 1024
            peak_max, ms_per_mb_max = 0, 0.0
            _, baseline = measure(tessivo, path)
            for _ in range(copies):
                damaged = bytearray(data)
                for _ in range(rng.randint(1, 8)):
                    start, end = rng.choice(ranges)
                    damaged[rng.randrange(start, end)] = rng.randrange(256)
                copy = os.path.join(work, "damaged.msg")
                with open(copy, "wb") as f:
                    f.write(damaged)
                peak, seconds = measure(tessivo, copy)
                peak_max = max(peak_max, peak)
                extra = max(seconds - baseline, 0.0)
                ms_per_mb_max = max(ms_per_mb_max, extra * 1000 / max(n / 1e6, 1.0))
            worst_memory = max(worst_memory, peak_max / bound)
            worst_time = max(worst_time, ms_per_mb_max / 100)
            print("%-44s %9d %10d %10d %9.1f" % (os.path.relpath(path, corpus)[-44:], n, peak_max, bound, ms_per_mb_max))
    print("worst: %.0f%% of the memory bound, %.0f%% of the time bound" % (100 * worst_memory, 100 * worst_time))


if __name__ == "__main__":
    main()
