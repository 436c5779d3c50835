#!/usr/bin/env bash
# Tessivo against two peer readers over the same corpus messages, each timed in
# its own process over repeated passes, in two comparisons:
#   text  the body text the importer indexes:
#           msgreader  @kenjiuno/msgreader in node (plain body, or HTML body through html-to-text)
#           poi        Apache POI's HSMF text body in one warmed JVM
#           tessivo    bench_importer (the importer entry, in process)
#   full  the whole message:
#           msgreader  getFileData() and getAttachment() of every attachment
#           poi        HSMF subject, sender, recipients, text body, every attachment's name and data
#           tessivo    bench_msg's full dictionary (ReadMSG, in process)
# then `tessivo text` on one typical message (median wall time and peak memory)
# and the peak memory of `tessivo dump` on every corpus message and on a
# generated message with 48 MiB of attachments, against four times the file size
# plus 32 MiB.
#
# Usage: bench/compare_peers.sh [BUILD_DIR] [SECONDS] [ROUNDS]
#   BUILD_DIR  an optimised build with bench_importer, bench_msg, make_large_msg and
#              tessivo (default build/release)
#   SECONDS    timed seconds per reader, round and comparison (default 5)
#   ROUNDS     turns each reader takes in each comparison (default 3)
# Needs the peers: bench/setup-peers.sh. The corpus: TESSIVO_CORPUS or ../shared/corpus.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$(cd "${1:-$root/build/release}" && pwd)"
seconds="${2:-5}"
rounds="${3:-3}"
corpus="${TESSIVO_CORPUS:-$root/../shared/corpus}"
tessivo="$build/tools/tessivo/tessivo"

mapfile -t files < <(find "$corpus" -name '*.msg' -type f | sort)
((${#files[@]})) || { echo "compare_peers: no .msg files under $corpus" >&2; exit 1; }
[[ -d "$here/node_modules/@kenjiuno/msgreader" ]] || { echo "compare_peers: run bench/setup-peers.sh first" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

poi_cp="$(ls /usr/share/java/poi.jar /usr/share/java/poi-scratchpad.jar /usr/share/java/commons-*.jar | paste -sd:)"
javac -nowarn -cp "$poi_cp" -d "$work" "$here/PoiRun.java"

# Prints "tessivo BYTES MESSAGES SECONDS 0" from a Google Benchmark JSON report.
benchmark_line() {
  python3 - "$1" <<'PY'
import json, sys
b = json.load(open(sys.argv[1]))["benchmarks"][0]
seconds = b["real_time"] * b["iterations"] / 1000.0  # milliseconds per iteration
print("tessivo", round(b["bytes_per_second"] * seconds), int(b["messages"]) * b["iterations"], seconds, 0)
PY
}

# compare MODE BENCHMARK [FILTER]: each runner prints "NAME BYTES MESSAGES SECONDS FAILURES".
# The readers take turns, ROUNDS times over, so that a spell in which this
# shared machine runs faster or slower falls on all of them alike; each
# reader's rate is its median over the rounds, and each round's ratios are
# shown beside the ratio of the medians.
compare() {
  local mode="$1" benchmark="$2" filter="${3:-.}"
  rm -f "$work/msgreader" "$work/poi" "$work/tessivo"
  for ((round = 1; round <= rounds; round++)); do
    node "$here/msgreader_run.js" "$mode" "$seconds" "${files[@]}" >> "$work/msgreader"
    java -cp "$poi_cp:$work" PoiRun "$mode" "$seconds" "${files[@]}" >> "$work/poi" 2> "$work/poi.err"
    "$build/bench/$benchmark" --benchmark_format=json --benchmark_filter="$filter" \
      --benchmark_min_time="$seconds" > "$work/tessivo.json"
    benchmark_line "$work/tessivo.json" >> "$work/tessivo"
  done
  echo "== $mode: ${#files[@]} messages, $(du -cb "${files[@]}" | tail -1 | cut -f1) bytes, $seconds s per reader, $rounds rounds"
  python3 - "$work/msgreader" "$work/poi" "$work/tessivo" <<'PY'
import statistics, sys
rounds = {}
for path in sys.argv[1:]:
    for line in open(path):
        name, nbytes, messages, seconds, failures = line.split()
        s = float(seconds)
        rounds.setdefault(name, []).append((int(float(nbytes)) / s / 1e6, int(float(messages)) / s, int(failures)))
rows = {name: tuple(statistics.median(r[i] for r in runs) for i in (0, 1)) + (max(r[2] for r in runs),)
        for name, runs in rounds.items()}
print(f"{'reader':<10} {'MB/s':>10} {'messages/s':>12} {'failed files':>13}   MB/s by round")
for name, (mbs, mps, failed) in rows.items():
    print(f"{name:<10} {mbs:>10.1f} {mps:>12.0f} {failed:>13}   " + " ".join(f"{r[0]:.1f}" for r in rounds[name]))
ours = rows["tessivo"]
for peer in ("msgreader", "poi"):
    by_round = " ".join(f"{t[0] / p[0]:.1f}x" for t, p in zip(rounds["tessivo"], rounds[peer]))
    print(f"tessivo / {peer}: {ours[0] / rows[peer][0]:.1f}x (MB/s), {ours[1] / rows[peer][1]:.1f}x (messages/s);"
          f" by round {by_round}")
PY
}

compare text bench_importer
compare full bench_msg BM_FullDictionaryCorpus

# Peak resident memory of a command, in KiB; of the input, not of how the page
# cache holds the executable.
"$here/evict_cached.py" "$tessivo"
peak_kb() {
  /usr/bin/time -v "$@" > /dev/null 2> "$work/time" || true
  awk -F': ' '/Maximum resident set size/ { print $2 }' "$work/time"
}

# One typical message: the one of median size among those with a body.
typical="$(for f in "${files[@]}"; do "$tessivo" text "$f" > /dev/null 2>&1 && stat -c '%s %n' "$f"; done |
  sort -n | awk '{ line[NR] = $0 } END { print line[int((NR + 1) / 2)] }' | cut -d' ' -f2-)"
size="$(stat -c %s "$typical")"
echo "== typical message: $typical ($size bytes)"
if command -v hyperfine > /dev/null; then
  hyperfine -N --warmup 20 --runs 300 --export-json "$work/hf.json" \
    "$tessivo text $typical" > "$work/hf.out" 2>&1 || { cat "$work/hf.out" >&2; exit 1; }
  python3 -c "import json,sys; r=json.load(open(sys.argv[1]))['results'][0]; print(f'tessivo text: median {r[\"median\"]*1000:.2f} ms over {len(r[\"times\"])} runs (target < 10 ms)')" "$work/hf.json"
fi
echo "tessivo text: peak memory $(peak_kb "$tessivo" text "$typical") KiB" \
  "(target below $(( (2 * size + 16 * 1024 * 1024) / 1024 )) KiB = twice the file + 16 MiB)"

echo "== tessivo dump: peak memory against four times the file + 32 MiB"
"$build/bench/make_large_msg" "$work/large.msg" 48
worst=0
for f in "${files[@]}" "$work/large.msg"; do
  n="$(stat -c %s "$f")"
  kb="$(peak_kb "$tessivo" dump "$f")"
  limit=$(( (4 * n + 32 * 1024 * 1024) / 1024 ))
  ratio=$(( 100 * kb / limit ))
  (( ratio > worst )) && worst=$ratio
  (( n >= 1000000 )) && echo "$(basename "$f"): $n bytes, peak ${kb} KiB, limit ${limit} KiB"
done
echo "tessivo dump: highest peak is ${worst}% of its limit over $(( ${#files[@]} + 1 )) files"
