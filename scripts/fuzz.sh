#!/usr/bin/env bash
# Looks for input that the library does not bear, and tells how many inputs it has tried. What is found is in build/fuzz/found.
#   fuzz.sh [--seconds N] [TARGET...]     no argument: every target in fuzz/, 600 seconds each
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=600
if [ "${1:-}" = --seconds ]; then
    seconds=$2
    shift 2
fi
if [ $# -eq 0 ]; then
    mapfile -t targets < <(ls fuzz/corpus)
    set -- "${targets[@]}"
fi

./scripts/setup.sh build fuzz
cmake --preset clang -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZQ_BUILD_FUZZERS=ON -DZQ_BUILD_TESTS=OFF \
      -DZQ_BUILD_EXAMPLES=OFF -DZQ_PROBES=OFF >/dev/null
cmake --build build/fuzz --target "${@/#/zq_fuzz_}" >/dev/null

mkdir -p build/fuzz/found
failed=0
for target in "$@"; do
    grown=build/fuzz/corpus/$target   # what is found interesting is kept there for the next run
    mkdir -p "$grown"
    status=0
    "./build/fuzz/fuzz/zq_fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 -verbosity=0 -close_fd_mask=1 \
        -max_len=4096 -timeout=10 -artifact_prefix="build/fuzz/found/$target-" "$grown" "fuzz/corpus/$target" \
        >"build/fuzz/$target.log" 2>&1 || status=$?
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$target.log")
    echo "$target: ${executions:-?} executions, $([ $status -eq 0 ] && echo nothing found || echo "found: see build/fuzz/$target.log")"
    [ $status -eq 0 ] || failed=1
done
exit $failed
