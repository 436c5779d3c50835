#!/usr/bin/env bash
# Peak memory and time of `tessivo text` on the largest corpus message and on
# messages whose structures declare far more than their bytes hold (written
# by make_hostile_messages), against the bound of 2n + 16 MB for a file of n bytes.
#
# Usage: bench/importer_memory.sh [BUILD_DIR] [TESTS_BUILD_DIR]
#   BUILD_DIR        an optimised build with tessivo (default build/release)
#   TESTS_BUILD_DIR  a build with tests, for make_hostile_messages (default build/dev)
# The corpus: TESSIVO_CORPUS or ../shared/corpus.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="$(cd "${1:-$root/build/release}" && pwd)"
tests_build="$(cd "${2:-$root/build/dev}" && pwd)"
corpus="${TESSIVO_CORPUS:-$root/../shared/corpus}"
tessivo="$build/tools/tessivo/tessivo"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
"$tests_build/bench/make_hostile_messages" "$work"
# Peak memory of the input, not of how the page cache holds the executable.
"$here/evict_cached.py" "$tessivo"
largest="$(find "$corpus" -name '*.msg' -type f -printf '%s %p\n' 2>/dev/null | sort -n | tail -1 | cut -d' ' -f2-)"

printf '%-36s %10s %10s %10s %8s %6s\n' file bytes peak-KB bound-KB seconds exit
for file in ${largest:+"$largest"} "$work"/*.msg; do
    n=$(stat -c %s "$file")
    set +e
    /usr/bin/time -f '%M %e' -o "$work/time" "$tessivo" text "$file" > /dev/null 2>&1
    status=$?
    set -e
    read -r peak seconds < <(tail -1 "$work/time")
    bound=$(( (2 * n + 16 * 1024 * 1024) / 1024 ))
    verdict=$([ "$peak" -lt "$bound" ] && echo "" || echo "  OVER")
    printf '%-36s %10d %10d %10d %8s %6d%s\n' "$(basename "$file")" "$n" "$peak" "$bound" "$seconds" "$status" "$verdict"
done
