#!/usr/bin/env bash
# Runs the fuzz programs of a build folder, all at once, each on a copy of its corpus.
#
# usage: tools/fuzz.sh BUILD_DIR
#   VELMAR_FUZZ_SECONDS   how long each runs (default: 60)
# Exit codes: 0 nothing found, 1 a program failed (its input is kept and named), 2 wrong usage.
set -euo pipefail

seconds=${VELMAR_FUZZ_SECONDS:-60}
if (($# != 1)) || [[ ! $seconds =~ ^[1-9][0-9]{0,5}$ ]]; then
    echo "fuzz: usage: tools/fuzz.sh BUILD_DIR, VELMAR_FUZZ_SECONDS a number above 0" >&2
    exit 2
fi
build=$1
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)

# Leaks are looked for last, over every input that reached something new: a leak can be attributed
# to Qt only with whole stacks, which are far too slow for the search.
try() {
    local program=$1 run=$2
    ASAN_OPTIONS=detect_leaks=0 "$program" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -max_len=8192 -print_final_stats=1 -detect_leaks=0 \
        -artifact_prefix="$run/failures/" "$run/corpus" &&
        echo "looking for leaks" &&
        ASAN_OPTIONS=fast_unwind_on_malloc=0 LSAN_OPTIONS="suppressions=$root/fuzz/leaks.supp" \
            "$program" -runs=0 -timeout=60 -artifact_prefix="$run/failures/" "$run/corpus"
}

names=()
pids=()
trap 'if ((${#pids[@]})); then kill "${pids[@]}" 2>/dev/null || true; fi' EXIT
for program in "$build"/bin/*_fuzz; do
    [[ -x $program ]] || continue
    name=$(basename "$program" _fuzz)
    run=$build/run/$name
    mkdir -p "$run/corpus" "$run/failures"
    cp "$root/fuzz/corpus/$name"/* "$run/corpus/"
    try "$program" "$run" >"$run/log" 2>&1 &
    pids+=($!)
    names+=("$name")
done
if ((${#names[@]} == 0)); then
    echo "fuzz: no fuzz program in $build/bin" >&2
    exit 2
fi

echo "fuzz: ${names[*]}, $seconds s each"
failed=0
for i in "${!names[@]}"; do
    run=$build/run/${names[$i]}
    if wait "${pids[$i]}"; then
        echo "fuzz: ${names[$i]}: $(sed -n 's/^stat::number_of_executed_units: *//p' "$run/log") runs," \
            "$(find "$run/corpus" -type f | wc -l) inputs in its corpus, no failure"
    else
        failed=1
        tail -n 40 "$run/log"
        echo "fuzz: ${names[$i]}: FAILED, whole log in $run/log"
        sed -n 's/.*Test unit written to \(.*\)/fuzz: its input: \1/p' "$run/log"
    fi
done
pids=()
exit "$failed"
