#!/usr/bin/env bash
# Archive mode throughput and robustness.
#
#   bench/archive_bench.sh [BUILD_DIR] [CORPUS_DIR]
#
# BUILD_DIR (default build/release) must hold tools/tessivo/tessivo and
# tests/hosts/make_messages. Measures `tessivo text --jsonl` with --jobs 1
# and --jobs 2 (median of seven paired runs) over the corpus's messages (.msg, .eml,
# .dat, .tnef, copied 20 times so that a run lasts long enough to time) and
# over 10,000 generated messages, a third each .msg, .eml and winmail .dat;
# reports the peak memory of each run against 64 MB plus twice the largest
# file; then checks that every file gives one valid JSON line, also when the
# corpus files are truncated or have flipped bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
corpus=${2:-../shared/corpus}
tessivo=$build/tools/tessivo/tessivo
make_messages=$build/tests/hosts/make_messages
for program in "$tessivo" "$make_messages"; do
  [ -x "$program" ] || { echo "archive_bench: $program not built" >&2; exit 2; }
done
[ -d "$corpus" ] || { echo "archive_bench: no corpus at $corpus" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

message_files() { find "$1" -type f \( -iname '*.msg' -o -iname '*.eml' -o -iname '*.dat' -o -iname '*.tnef' \) | sort; }
mapfile -t corpus_files < <(message_files "$corpus")
for copy in $(seq 1 20); do
  for f in "${corpus_files[@]}"; do
    target="$work/corpus/$copy/${f#"$corpus"/}"
    mkdir -p "$(dirname "$target")"
    cp "$f" "$target"
  done
done
"$make_messages" "$work/generated" 10000 --mixed

# Runs of archive mode with --jobs 1 and --jobs 2 in turn, seven pairs, timed
# to the microsecond: taking the ratio pair by pair keeps it meaningful when
# the machine's speed drifts. Prints "seconds1 seconds2 ratio peak": the
# median of each and the largest peak resident size in KB.
paired_runs() {
  local dir=$1 peak=0 s e kb
  : > "$work/pairs"
  for _ in 1 2 3 4 5 6 7; do
    local pair=()
    for jobs in 1 2; do
      s=$EPOCHREALTIME
      /usr/bin/time -f '%M' -o "$work/time" "$tessivo" text --jsonl --jobs "$jobs" "$dir" > /dev/null 2>&1 || true
      e=$EPOCHREALTIME
      pair+=("$(echo "$e - $s" | bc -l)")
      kb=$(tail -1 "$work/time")
      if [ "$kb" -gt "$peak" ]; then peak=$kb; fi
    done
    echo "${pair[0]} ${pair[1]} $(echo "${pair[0]} / ${pair[1]}" | bc -l)" >> "$work/pairs"
  done
  python3 - "$work/pairs" "$peak" <<'EOF'
import statistics, sys
rows = [list(map(float, line.split())) for line in open(sys.argv[1])]
print(*(statistics.median(column) for column in zip(*rows)), sys.argv[2])
EOF
}

printf '%-10s %7s %11s %11s %8s %10s %10s\n' "tree" "files" "jobs 1 f/s" "jobs 2 f/s" "speedup" "peak KB" "bound KB"
for tree in corpus generated; do
  files=$(message_files "$work/$tree" | wc -l)
  largest=$(message_files "$work/$tree" | xargs stat -c %s | sort -n | tail -1)
  read -r t1 t2 ratio peak < <(paired_runs "$work/$tree")
  bound=$(( 64 * 1024 + 2 * largest / 1024 ))
  printf '%-10s %7d %11.0f %11.0f %7.2fx %10d %10d\n' "$tree" "$files" \
    "$(echo "$files / $t1" | bc -l)" "$(echo "$files / $t2" | bc -l)" "$ratio" "$peak" "$bound"
done

# Damaged copies: every corpus file cut at a third, and with bytes flipped
# every 97 bytes from offset 512 on. Each still gives exactly one JSON line.
mkdir -p "$work/damaged"
for f in "${corpus_files[@]}"; do
  name=$(echo "${f#"$corpus"/}" | tr / _)
  ext=${name##*.}
  name=${name%.*}
  size=$(stat -c %s "$f")
  head -c $((size / 3)) "$f" > "$work/damaged/$name.truncated.$ext"
  python3 - "$f" "$work/damaged/$name.flipped.$ext" <<'EOF'
import sys
data = bytearray(open(sys.argv[1], "rb").read())
for i in range(512, len(data), 97):
    data[i] ^= 0xFF
open(sys.argv[2], "wb").write(data)
EOF
done

check_lines() {
  local dir=$1 status=0
  "$tessivo" text --jsonl "$dir" > "$work/out.jsonl" 2> /dev/null || status=$?
  if [ "$status" -ge 4 ]; then echo "archive_bench: $dir: exit status $status" >&2; exit 1; fi
  python3 - "$work/out.jsonl" "$(message_files "$dir" | wc -l)" "$dir" <<'EOF'
import json, sys
# Lines end at "\n" only: text may hold U+2028 and other characters
# that str.splitlines() would also split at.
lines = open(sys.argv[1], encoding="utf-8").read().split("\n")[:-1]
objects = [json.loads(line) for line in lines]
assert len(objects) == int(sys.argv[2]), f"{len(objects)} lines for {sys.argv[2]} files"
assert all(isinstance(o["ok"], bool) and ("text" in o) == o["ok"] for o in objects)
ok = sum(o["ok"] for o in objects)
print(f"{sys.argv[3]}: {len(objects)} valid JSON lines, {ok} ok, {len(objects) - ok} failed")
EOF
}
check_lines "$work/corpus/1"
check_lines "$work/generated"
check_lines "$work/damaged"
