#!/usr/bin/env bash
# A fuzzing campaign: every harness in turn, each with its dictionary, its
# saved finds (fuzz/regressions/NAME) and a persistent corpus folder outside
# git, then a table of executions, executions per second, coverage and finds.
#
# Usage: fuzz/run.sh [SECONDS_PER_HARNESS] [CORPUS_DIR]
#   SECONDS_PER_HARNESS  fuzzing time per harness (default 60)
#   CORPUS_DIR           one corpus folder per harness (default build/fuzz-corpus)
# Environment:
#   FUZZ_HARNESSES  names to run (default: every harness of the fuzz build)
#   FUZZ_RUNS       stop a harness after this many executions, if sooner
#                   than SECONDS_PER_HARNESS (default: no count)
#   FUZZ_MAX_LEN    longest input in bytes (default: libFuzzer's, the
#                   largest seed up to 1 MB); longer seeds are cut, which the
#                   readers take as truncated files
#   TESSIVO_CORPUS  real messages (default ../shared/corpus): .msg files seed
#                   the compound, importer and msg harnesses, .eml files the
#                   MIME reader's, .tnef and .dat files the TNEF harnesses,
#                   all of them the message text harness
#
# Builds the fuzz preset when needed. Runs harnesses one at a time under
# `nice -n 10`. An input that crashes, leaks, runs over 1 s or takes over
# 2 GB is a find: libFuzzer stops that harness and leaves the input in
# build/fuzz-finds/NAME/; minimise it, fix the fault and keep it in
# fuzz/regressions/NAME/, where the harness's replay test reads it. New
# inputs are merged into the corpus folder only when they add coverage, so
# that it stays small. Writer-made seeds (make_compound_seeds, make_msg_seeds,
# make_mime_seeds, make_tnef_seeds) are added when a build with tests
# (build/dev) has them.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
seconds="${1:-60}"
corpus_root="$(mkdir -p "${2:-$root/build/fuzz-corpus}" && cd "${2:-$root/build/fuzz-corpus}" && pwd)"
messages="${TESSIVO_CORPUS:-$root/../shared/corpus}"
build="$root/build/fuzz"
finds_root="$root/build/fuzz-finds"

if [[ ! -f "$build/build.ninja" ]]; then
    CMAKE_CXX_COMPILER_LAUNCHER=ccache CMAKE_C_COMPILER_LAUNCHER=ccache cmake --preset fuzz -S "$root" > /dev/null
fi
nice -n 10 cmake --build --preset fuzz --target fuzzers > /dev/null

harnesses=(${FUZZ_HARNESSES:-$(cd "$build/fuzz" && ls fuzz_* | sed 's/^fuzz_//' | sort)})
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Seeds of a harness beyond its corpus and saved finds.
seed_folder() {
    local name="$1" seeds="$work/seeds-$1"
    mkdir -p "$seeds"
    case "$name" in
    compound | importer | msg)
        [[ -d "$messages" ]] && find "$messages" -name '*.msg' -type f -exec cp {} "$seeds/" \;
        [[ -x "$root/build/dev/fuzz/make_compound_seeds" ]] && "$root/build/dev/fuzz/make_compound_seeds" "$seeds" > /dev/null
        [[ "$name" == msg && -x "$root/build/dev/fuzz/make_msg_seeds" ]] && "$root/build/dev/fuzz/make_msg_seeds" "$seeds" > /dev/null
        ;;
    tnef | tnef_raw_scan)
        [[ -d "$messages" ]] && find "$messages" \( -name '*.tnef' -o -name '*.dat' \) -type f -exec cp {} "$seeds/" \;
        [[ -x "$root/build/dev/fuzz/make_tnef_seeds" ]] && "$root/build/dev/fuzz/make_tnef_seeds" "$seeds" > /dev/null
        ;;
    mime_reader)
        [[ -d "$messages" ]] && find "$messages" -name '*.eml' -type f -exec cp {} "$seeds/" \;
        [[ -x "$root/build/dev/fuzz/make_mime_seeds" ]] && "$root/build/dev/fuzz/make_mime_seeds" "$seeds" > /dev/null
        ;;
    message_text)
        [[ -d "$messages" ]] && find "$messages" \( -name '*.msg' -o -name '*.eml' -o -name '*.tnef' -o -name '*.dat' \) \
            -type f -exec cp {} "$seeds/" \;
        ;;
    esac
    echo "$seeds"
}

rows=()
for name in "${harnesses[@]}"; do
    corpus="$corpus_root/$name"
    finds="$finds_root/$name"
    fresh="$work/new-$name"
    mkdir -p "$corpus" "$finds" "$fresh"
    seeds="$(seed_folder "$name")"
    regressions="$here/regressions/$name"
    dict=()
    [[ -f "$here/$name.dict" ]] && dict=(-dict="$here/$name.dict")
    before=$(ls "$finds" | wc -l)
    log="$work/$name.log"
    echo "fuzz/run.sh: $name for ${seconds}s" >&2
    set +e
    max_len=()
    [[ -n "${FUZZ_MAX_LEN:-}" ]] && max_len=(-max_len="$FUZZ_MAX_LEN")
    nice -n 10 "$build/fuzz/fuzz_$name" "${dict[@]}" "${max_len[@]}" -max_total_time="$seconds" -runs="${FUZZ_RUNS:--1}" -timeout=1 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$finds/" "$fresh" "$corpus" "$seeds" \
        $([[ -d "$regressions" ]] && echo "$regressions") > "$log" 2>&1
    status=$?
    # Keep only the new inputs (and seeds) that add coverage.
    nice -n 10 "$build/fuzz/fuzz_$name" -merge=1 "${max_len[@]}" -timeout=1 -rss_limit_mb=2048 -artifact_prefix="$finds/" \
        "$corpus" "$fresh" "$seeds" \
        > "$work/$name.merge.log" 2>&1
    set -e
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
    cov=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
    found=$(($(ls "$finds" | wc -l) - before))
    [[ $status -ne 0 && $found -eq 0 ]] && found="exit $status"
    rows+=("$(printf '%-16s %12s %10s %8s %8s %8s' "$name" "${runs:-?}" "${rate:-?}" "${cov:-?}" \
        "$(ls "$corpus" | wc -l)" "$found")")
done

printf '%-16s %12s %10s %8s %8s %8s\n' harness executions exec/s coverage corpus finds
printf '%s\n' "${rows[@]}"
