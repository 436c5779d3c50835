#!/usr/bin/env bash
# Recoll indexing through tessivo's persistent handler, against a handler
# process per message and against the same texts as plain .txt files.
#
#   bench/recoll_bench.sh [BUILD_DIR] [COUNT] [CONFIG...]
#
# BUILD_DIR (default build/release) must hold tools/tessivo/tessivo and
# tests/hosts/make_messages. Writes COUNT (default 5000) messages, indexes
# them from scratch with `recollindex -z` (best of three runs) in three
# private configurations:
#   execm  as `tessivo recoll-setup` leaves it: one handler for all files
#   exec   the same files through `tessivo text FILE`, one process each
#   txt    each message's text (as `tessivo text` prints it) in a .txt file
# and checks that every index finds a message by its unique word. CONFIGs
# (default: all three) pick some; exec, a hundred times slower, is timed once.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
count=${2:-5000}
shift $(($# < 2 ? $# : 2))
configs=("$@")
[ ${#configs[@]} -gt 0 ] || configs=(txt execm exec)
tessivo=$(realpath "$build/tools/tessivo/tessivo")
make_messages=$build/tests/hosts/make_messages
for program in "$tessivo" "$make_messages"; do
  [ -x "$program" ] || { echo "recoll_bench: $program not built" >&2; exit 2; }
done
for program in recollindex recollq python3; do
  command -v "$program" > /dev/null || { echo "recoll_bench: $program not found" >&2; exit 2; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$make_messages" "$work/msg" "$count"
"$tessivo" text --jsonl "$work/msg" | python3 -c '
import json, os, sys
src, dst = sys.argv[1], sys.argv[2]
for line in sys.stdin:
    o = json.loads(line)
    path = os.path.join(dst, os.path.relpath(o["path"], src))[:-len(".msg")] + ".txt"
    os.makedirs(os.path.dirname(path), exist_ok=True)
    open(path, "w", encoding="utf-8").write(o["text"])
' "$work/msg" "$work/txt"

# A private configuration named $1 indexing the tree $2. The indexer keeps
# normal priority: at its default (nice 19, idle I/O) any other work on the
# machine would decide the timings.
configure() {
  mkdir -p "$work/$1"
  printf 'topdirs = %s\nnoaspell = 1\nloglevel = 1\nlogfilename = %s\nidxniceprio = 0\nmonioniceclass = 2\n' \
    "$work/$2" "$work/$1/log" > "$work/$1/recoll.conf"
}
configure execm msg
"$tessivo" recoll-setup --config "$work/execm" > /dev/null
configure exec msg
printf '.msg = application/x-outlook-msg\n' > "$work/exec/mimemap"
printf '[index]\napplication/x-outlook-msg = exec %s text --;mimetype=text/plain;charset=utf-8\n' "$tessivo" \
  > "$work/exec/mimeconf"
configure txt txt

# Seconds (best of $2 runs) for indexing from scratch with configuration $1.
best_time() {
  local best="" t start end
  for _ in $(seq "$2"); do
    start=$(date +%s.%N)
    recollindex -c "$work/$1" -z > /dev/null 2>&1
    end=$(date +%s.%N)
    t=$(echo "$end - $start" | bc)
    if [ -z "$best" ] || [ "$(echo "$t < $best" | bc)" = 1 ]; then best=$t; fi
  done
  echo "$best"
}

declare -A seconds
printf '%-8s %8s %10s %10s\n' "config" "files" "seconds" "files/s"
for config in "${configs[@]}"; do
  seconds[$config]=$(best_time "$config" "$([ "$config" = exec ] && echo 1 || echo 3)")
  word="tessivo$((count / 2))"
  found=$(recollq -c "$work/$config" -b "$word" 2> /dev/null | wc -l)
  [ "$found" = 1 ] || { echo "recoll_bench: $config: $word found $found times" >&2; exit 1; }
  printf '%-8s %8d %10.2f %10.0f\n' "$config" "$count" "${seconds[$config]}" \
    "$(echo "$count / ${seconds[$config]}" | bc -l)"
done
if [ -n "${seconds[txt]:-}" ] && [ -n "${seconds[execm]:-}" ]; then
  printf 'execm / txt:  %.2f (at most 1.5 wanted)\n' "$(echo "${seconds[execm]} / ${seconds[txt]}" | bc -l)"
fi
if [ -n "${seconds[exec]:-}" ] && [ -n "${seconds[execm]:-}" ]; then
  printf 'exec / execm: %.2f (at least 3 wanted)\n' "$(echo "${seconds[exec]} / ${seconds[execm]}" | bc -l)"
fi
