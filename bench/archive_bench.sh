#!/usr/bin/env bash
# Archive mode throughput and robustness.
#
#   bench/archive_bench.sh [BUILD_DIR] [CORPUS_DIR]
#
# BUILD_DIR (default build/release) must hold tools/tessivo/tessivo and
# tests/hosts/make_messages. Measures `tessivo text --jsonl` with --jobs 1
# and --jobs 2 (best of three runs) over the corpus's .msg files (copied
# 20 times so that a run lasts long enough to time) and over 10,000 generated
# messages; then checks that every file gives one valid JSON line, also when
# the corpus files are truncated or have flipped bytes.
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

mapfile -t corpus_files < <(find "$corpus" -type f -iname '*.msg' | sort)
for copy in $(seq 1 20); do
  mkdir -p "$work/corpus/$copy"
  cp "${corpus_files[@]}" "$work/corpus/$copy/" 2>/dev/null || true
done
"$make_messages" "$work/generated" 10000

# Seconds (best of three) for one run of archive mode.
best_time() {
  local jobs=$1 dir=$2 best="" t
  for _ in 1 2 3; do
    local start end
    start=$(date +%s.%N)
    "$tessivo" text --jsonl --jobs "$jobs" "$dir" > /dev/null 2>&1 || true
    end=$(date +%s.%N)
    t=$(echo "$end - $start" | bc)
    if [ -z "$best" ] || [ "$(echo "$t < $best" | bc)" = 1 ]; then best=$t; fi
  done
  echo "$best"
}

printf '%-22s %8s %12s %12s %8s\n' "tree" "files" "jobs 1 f/s" "jobs 2 f/s" "speedup"
for tree in corpus generated; do
  files=$(find "$work/$tree" -type f -iname '*.msg' | wc -l)
  t1=$(best_time 1 "$work/$tree")
  t2=$(best_time 2 "$work/$tree")
  printf '%-22s %8d %12.0f %12.0f %7.2fx\n' "$tree" "$files" \
    "$(echo "$files / $t1" | bc -l)" "$(echo "$files / $t2" | bc -l)" "$(echo "$t1 / $t2" | bc -l)"
done

# Damaged copies: every corpus file cut at a third, and with bytes flipped
# every 97 bytes from offset 512 on. Each still gives exactly one JSON line.
mkdir -p "$work/damaged"
for f in "${corpus_files[@]}"; do
  name=$(basename "$f" .msg)
  size=$(stat -c %s "$f")
  head -c $((size / 3)) "$f" > "$work/damaged/$name.truncated.msg"
  python3 - "$f" "$work/damaged/$name.flipped.msg" <<'EOF'
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
  python3 - "$work/out.jsonl" "$(find "$dir" -type f -iname '*.msg' | wc -l)" "$dir" <<'EOF'
import json, sys
lines = open(sys.argv[1], encoding="utf-8").read().splitlines()
objects = [json.loads(line) for line in lines]
assert len(objects) == int(sys.argv[2]), f"{len(objects)} lines for {sys.argv[2]} files"
assert all(isinstance(o["ok"], bool) and ("text" in o) == o["ok"] for o in objects)
ok = sum(o["ok"] for o in objects)
print(f"{sys.argv[3]}: {len(objects)} valid JSON lines, {ok} ok, {len(objects) - ok} failed")
EOF
}
check_lines "$work/corpus/1"
check_lines "$work/damaged"
