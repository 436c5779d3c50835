#!/usr/bin/env bash
# MIME reading throughput against the mailparser npm package, side by side in
# one run over the corpus .eml files held in memory:
#   mailparser  simpleParser in node (parses and decodes every part)
#   tessivo     bench_mime_reader (MIMEReader::initWithData, in process)
# first all files together, then each file on its own; then the 1 MB and 10 MB
# built messages, whose MB/s should agree within a factor of 2.
# Both processes keep freed memory instead of giving it back after each
# message (glibc's trim and mmap thresholds raised alike), so that neither
# pays page faults for it again on every pass. Rates are given over wall-clock
# time and over the processes' CPU time; on a busy machine the second is the
# steadier comparison.
#
# Usage: bench/compare_mime.sh [BUILD_DIR] [SECONDS]
#   BUILD_DIR  an optimised build with bench_mime_reader (default build/release)
#   SECONDS    timed seconds per reader for all files together (default 5); each
#              file on its own gets a fifth of it
# Needs the peer: bench/setup-peers.sh. The corpus: TESSIVO_CORPUS or ../shared/corpus.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$(cd "${1:-$root/build/release}" && pwd)"
seconds="${2:-5}"
each=$(python3 -c "print(max($seconds / 5, 0.2))")
corpus="${TESSIVO_CORPUS:-$root/../shared/corpus}"
export MALLOC_TRIM_THRESHOLD_=1073741824 MALLOC_MMAP_THRESHOLD_=1073741824

mapfile -t files < <(find "$corpus" -name '*.eml' -type f | sort)
((${#files[@]})) || { echo "compare_mime: no .eml files under $corpus" >&2; exit 1; }
[[ -d "$here/node_modules/mailparser" ]] || { echo "compare_mime: run bench/setup-peers.sh first" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# The peer prints "NAME BYTES MESSAGES SECONDS FAILURES CPU_SECONDS" lines.
node "$here/mailparser_read.js" "$seconds" "${files[@]}" > "$work/mailparser"
node "$here/mailparser_read.js" --each "$each" "${files[@]}" > "$work/mailparser-each"
TESSIVO_CORPUS="$corpus" "$build/bench/bench_mime_reader" --benchmark_filter='^ReadCorpus' \
  --benchmark_min_time="$seconds" --benchmark_format=json > "$work/corpus.json"
TESSIVO_CORPUS="$corpus" "$build/bench/bench_mime_reader" --benchmark_filter='^Read(File|Built)/' \
  --benchmark_min_time="$each" --benchmark_format=json > "$work/each.json"

echo "${#files[@]} messages, $(du -cb "${files[@]}" | tail -1 | cut -f1) bytes, $seconds s per reader"
python3 - "$work" "$corpus" <<'PY'
import json, os, sys
work, corpus = sys.argv[1], sys.argv[2]

def peer(path):
    rows = {}
    for line in open(path):
        name, nbytes, messages, seconds, failures, cpu = line.split()
        rows[name] = (int(nbytes) / float(seconds) / 1e6, int(nbytes) / float(cpu) / 1e6,
                      int(messages) / float(seconds), int(failures))
    return rows

def ours(path):
    rows = {}
    for b in json.load(open(path))["benchmarks"]:
        name = b["name"].removesuffix("/real_time")
        # Times are per iteration, in the benchmark's unit; rates follow from them.
        cpu_share = b["real_time"] / b["cpu_time"]
        rows[name] = (b["bytes_per_second"] / 1e6, b["bytes_per_second"] * cpu_share / 1e6, b["items_per_second"], 0)
    return rows

whole = {**peer(f"{work}/mailparser"), "tessivo": ours(f"{work}/corpus.json")["ReadCorpus"]}
print(f"{'reader':<12} {'MB/s':>10} {'MB/s of CPU':>12} {'messages/s':>12} {'failed files':>13}")
for name, (mbs, cpu, mps, failed) in whole.items():
    print(f"{name:<12} {mbs:>10.1f} {cpu:>12.1f} {mps:>12.0f} {failed:>13}")
print(f"tessivo / mailparser, all files: {whole['tessivo'][0] / whole['mailparser'][0]:.1f}x (MB/s), "
      f"{whole['tessivo'][1] / whole['mailparser'][1]:.1f}x (MB/s of CPU); target at least 20x")

theirs = peer(f"{work}/mailparser-each")
mine = ours(f"{work}/each.json")
print(f"\n{'file':<64} {'mailparser MB/s':>16} {'tessivo MB/s':>13} {'ratio':>7} {'CPU ratio':>10}")
for path, (mbs, cpu, _, _) in theirs.items():
    name = os.path.relpath(path, corpus)
    key = "ReadFile/" + os.path.basename(os.path.dirname(path)) + "/" + os.path.basename(path)
    print(f"{name:<64} {mbs:>16.1f} {mine[key][0]:>13.1f} {mine[key][0] / mbs:>6.1f}x {mine[key][1] / cpu:>9.1f}x")

one, ten = mine["ReadBuilt/1MB"][0], mine["ReadBuilt/10MB"][0]
print(f"\nbuilt messages: 1 MB at {one:.1f} MB/s, 10 MB at {ten:.1f} MB/s "
      f"(ratio {max(one, ten) / min(one, ten):.2f}; target within 2)")
PY
