#!/usr/bin/env bash
# SECONDS [TARGET...]: runs the libFuzzer programs of build/fuzz, as many at a time as there are processors.
# What a run finds stays in build/fuzz/findings/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || for source in fuzz/*_fuzz.cpp; do targets+=("$(basename "$source" _fuzz.cpp)"); done
mkdir -p build/fuzz/findings build/fuzz/corpus

run_one() # STEM
{
    local stem=$1 log="build/fuzz/findings/$1.log"
    mkdir -p "build/fuzz/corpus/$stem"
    if "build/fuzz/${stem}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/findings/$stem-" "build/fuzz/corpus/$stem" "fuzz/seeds/$stem" >"$log" 2>&1; then
        echo "ok      $stem: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs in $seconds s"
    else
        echo "FINDING $stem: see $log"
        tail -20 "$log"
        return 1
    fi
}
export -f run_one
export seconds
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run_one {}'
