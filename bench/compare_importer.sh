#!/usr/bin/env bash
# Importer throughput against two peer readers over the same corpus messages,
# each timed in its own process over repeated passes:
#   msgreader  @kenjiuno/msgreader in node (plain body, or HTML body through html-to-text)
#   poi        Apache POI's HSMF text body in one warmed JVM
#   tessivo    bench_importer (the importer entry, in process)
# then `tessivo text` on one typical message: median wall time and peak memory.
#
# Usage: bench/compare_importer.sh [BUILD_DIR] [SECONDS]
#   BUILD_DIR  an optimised build with bench_importer and tessivo (default build/release)
#   SECONDS    timed seconds per peer (default 5)
# Needs the peers: bench/setup-peers.sh. The corpus: TESSIVO_CORPUS or ../shared/corpus.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$(cd "${1:-$root/build/release}" && pwd)"
seconds="${2:-5}"
corpus="${TESSIVO_CORPUS:-$root/../shared/corpus}"

mapfile -t files < <(find "$corpus" -name '*.msg' -type f | sort)
((${#files[@]})) || { echo "compare_importer: no .msg files under $corpus" >&2; exit 1; }
[[ -d "$here/node_modules/@kenjiuno/msgreader" ]] || { echo "compare_importer: run bench/setup-peers.sh first" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Each runner prints "NAME BYTES MESSAGES SECONDS FAILURES".
node "$here/msgreader_text.js" "$seconds" "${files[@]}" > "$work/msgreader"

poi_cp="$(ls /usr/share/java/poi.jar /usr/share/java/poi-scratchpad.jar /usr/share/java/commons-*.jar | paste -sd:)"
javac -nowarn -cp "$poi_cp" -d "$work" "$here/PoiText.java"
java -cp "$poi_cp:$work" PoiText "$seconds" "${files[@]}" > "$work/poi" 2> "$work/poi.err"

"$build/bench/bench_importer" --benchmark_format=json --benchmark_min_time="$seconds" > "$work/tessivo.json"
python3 - "$work/tessivo.json" > "$work/tessivo" <<'PY'
import json, sys
b = json.load(open(sys.argv[1]))["benchmarks"][0]
seconds = b["real_time"] * b["iterations"] / 1000.0  # milliseconds per iteration
files = int(b["messages"])
print("tessivo", round(b["bytes_per_second"] * seconds), files * b["iterations"], seconds, 0)
PY

echo "${#files[@]} messages, $(du -cb "${files[@]}" | tail -1 | cut -f1) bytes, $seconds s per reader"
python3 - "$work/msgreader" "$work/poi" "$work/tessivo" <<'PY'
import sys
rows = {}
for path in sys.argv[1:]:
    name, nbytes, messages, seconds, failures = open(path).read().split()
    s = float(seconds)
    rows[name] = (int(float(nbytes)) / s / 1e6, int(float(messages)) / s, int(failures))
print(f"{'reader':<10} {'MB/s':>10} {'messages/s':>12} {'failed files':>13}")
for name, (mbs, mps, failed) in rows.items():
    print(f"{name:<10} {mbs:>10.1f} {mps:>12.0f} {failed:>13}")
ours = rows["tessivo"]
for peer in ("msgreader", "poi"):
    print(f"tessivo / {peer}: {ours[0] / rows[peer][0]:.1f}x (MB/s), {ours[1] / rows[peer][1]:.1f}x (messages/s)")
PY

# One typical message: the one of median size among those with a body.
typical="$(for f in "${files[@]}"; do "$build/tools/tessivo/tessivo" text "$f" > /dev/null 2>&1 && stat -c '%s %n' "$f"; done |
  sort -n | awk '{ line[NR] = $0 } END { print line[int((NR + 1) / 2)] }' | cut -d' ' -f2-)"
size="$(stat -c %s "$typical")"
echo "typical message: $typical ($size bytes)"
if command -v hyperfine > /dev/null; then
  hyperfine -N --warmup 20 --runs 300 --export-json "$work/hf.json" \
    "$build/tools/tessivo/tessivo text $typical" > "$work/hf.out" 2>&1 || { cat "$work/hf.out" >&2; exit 1; }
  python3 -c "import json,sys; r=json.load(open(sys.argv[1]))['results'][0]; print(f'tessivo text: median {r[\"median\"]*1000:.2f} ms over {len(r[\"times\"])} runs (target < 10 ms)')" "$work/hf.json"
fi
/usr/bin/time -v "$build/tools/tessivo/tessivo" text "$typical" > /dev/null 2> "$work/time"
peak_kb="$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$work/time")"
limit_kb=$(( (2 * size + 16 * 1024 * 1024) / 1024 ))
echo "tessivo text: peak memory ${peak_kb} KiB (target below ${limit_kb} KiB = twice the file + 16 MiB)"
