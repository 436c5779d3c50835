#!/usr/bin/env bash
# TNEF reading against two peer readers, side by side in one run, over every
# TNEF stream of the corpus (.tnef files and winmail.dat), each reader timed in
# its own process over repeated passes that decode every stream from memory:
#   node-tnef  the node-tnef npm package (attachments)
#   poi-hmef   Apache POI's HMEF in one warmed JVM (subject, body, attachments)
#   tessivo    bench_tnef (ReadTNEF, the full message dictionary, in process)
# then `tessivo attachments --list` against `tnef -t` on one typical stream,
# one process per run: median wall time. Rates are given over wall-clock time
# and over the processor time of the decoding (the second varies less on a
# busy machine).
#
# Usage: bench/compare_tnef.sh [BUILD_DIR] [SECONDS]
#   BUILD_DIR  an optimised build with bench_tnef and tessivo (default build/release)
#   SECONDS    timed seconds per reader (default 5)
# Needs the peers: bench/setup-peers.sh. The corpus: TESSIVO_CORPUS or ../shared/corpus.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$(cd "${1:-$root/build/release}" && pwd)"
seconds="${2:-5}"
corpus="${TESSIVO_CORPUS:-$root/../shared/corpus}"

mapfile -t files < <(find "$corpus" -type f \( -name '*.tnef' -o -name '*.dat' \) | sort)
((${#files[@]})) || { echo "compare_tnef: no TNEF streams under $corpus" >&2; exit 1; }
[[ -d "$here/node_modules/node-tnef" ]] || { echo "compare_tnef: run bench/setup-peers.sh first" >&2; exit 1; }
command -v tnef > /dev/null || { echo "compare_tnef: the tnef program is missing (bench/setup-peers.sh)" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Each runner prints "NAME BYTES MESSAGES SECONDS FAILURES CPU_SECONDS" as its
# last line (node-tnef logs a line of its own for every stream it parses).
node "$here/node_tnef.js" "$seconds" "${files[@]}" | tail -1 > "$work/node-tnef"

poi_cp="$(ls /usr/share/java/poi.jar /usr/share/java/poi-scratchpad.jar /usr/share/java/commons-*.jar | paste -sd:)"
javac -nowarn -cp "$poi_cp" -d "$work" "$here/PoiTnef.java"
java -cp "$poi_cp:$work" PoiTnef "$seconds" "${files[@]}" > "$work/poi-hmef" 2> "$work/poi.err"

"$build/bench/bench_tnef" --benchmark_filter=BM_ReadTNEFCorpus --benchmark_format=json \
  --benchmark_min_time="$seconds" > "$work/tessivo.json"
python3 - "$work/tessivo.json" > "$work/tessivo" <<'PY'
import json, sys
b = json.load(open(sys.argv[1]))["benchmarks"][0]
seconds = b["real_time"] * b["iterations"] / 1000.0  # milliseconds per iteration
cpu = b["cpu_time"] * b["iterations"] / 1000.0
print("tessivo", round(b["bytes_per_second"] * seconds), int(b["messages"]) * b["iterations"], seconds, 0, cpu)
PY

echo "${#files[@]} streams, $(du -cb "${files[@]}" | tail -1 | cut -f1) bytes, $seconds s per reader"
python3 - "$work/node-tnef" "$work/poi-hmef" "$work/tessivo" <<'PY'
import sys
rows = {}
for path in sys.argv[1:]:
    name, nbytes, messages, seconds, failures, cpu = open(path).read().split()
    mb = int(float(nbytes)) / 1e6
    rows[name] = (mb / float(seconds), mb / float(cpu), int(float(messages)) / float(seconds), int(failures))
print(f"{'reader':<10} {'MB/s':>10} {'MB/s (cpu)':>11} {'streams/s':>12} {'failed streams':>15}")
for name, (wall, cpu, sps, failed) in rows.items():
    print(f"{name:<10} {wall:>10.2f} {cpu:>11.2f} {sps:>12.1f} {failed:>15}")
ours = rows["tessivo"]
for peer in ("node-tnef", "poi-hmef"):
    print(f"tessivo / {peer}: {ours[0] / rows[peer][0]:.1f}x (MB/s), {ours[1] / rows[peer][1]:.1f}x (MB/s of processor time); "
          "target at least 20x")
PY

# One typical stream: the one of median size among those tnef lists attachments of.
typical="$(for f in "${files[@]}"; do if [[ -n "$(tnef -t "$f" 2> /dev/null || true)" ]]; then stat -c '%s %n' "$f"; fi; done |
  sort -n | awk '{ line[NR] = $0 } END { print line[int((NR + 1) / 2)] }' | cut -d' ' -f2-)"
echo "typical stream: $typical ($(stat -c %s "$typical") bytes)"
command -v hyperfine > /dev/null || { echo "compare_tnef: hyperfine is missing (bench/setup-peers.sh)" >&2; exit 1; }
hyperfine -N --warmup 20 --runs 300 --export-json "$work/hf.json" \
  "$build/tools/tessivo/tessivo attachments --list $typical" "tnef -t $typical" > "$work/hf.out" 2>&1 ||
  { cat "$work/hf.out" >&2; exit 1; }
python3 - "$work/hf.json" <<'PY'
import json, sys
ours, theirs = json.load(open(sys.argv[1]))["results"]
print(f"tessivo attachments --list: median {ours['median'] * 1000:.2f} ms; tnef -t: median {theirs['median'] * 1000:.2f} ms; "
      f"ratio {ours['median'] / theirs['median']:.2f} (target at most 2)")
PY
