#!/usr/bin/env bash
# Measures the library beside its rivals and writes tables and plots.
#   bench.sh [--quick] [AREA...]     areas: locks pools memory datetimes files processes timers growth; no argument: all
#   bench.sh --counts                counts instructions and cache misses of growth, into docs/benchmarks-counts.md
# A full run of all areas writes docs/benchmarks.md and docs/benchmarks/; any other writes build/bench/report/ instead.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --counts ]; then
    [ $# -eq 1 ] || { echo "bench.sh: --counts stands alone" >&2; exit 2; }
    ./scripts/setup.sh bench counts
    cmake --preset bench >/dev/null
    cmake --build --preset bench --target bench_growth
    mkdir -p build/bench/work
    ZQ_BENCH_DIR="$PWD/build/bench/work" \
        python3 bench/counts.py build/bench/bench/bench_growth build/bench/counts docs/benchmarks-counts.md
    echo "written: docs/benchmarks-counts.md"
    exit
fi

areas=(locks pools memory datetimes files processes timers growth)
quick=
if [ "${1:-}" = --quick ]; then quick=1; shift; fi
out=docs
results=build/bench/results
[ -z "$quick" ] && [ $# -eq 0 ] || { out=build/bench/report; results=build/bench/results-part; }
[ $# -eq 0 ] || areas=("$@")

./scripts/setup.sh bench
cmake --preset bench >/dev/null
cmake --build --preset bench --target "${areas[@]/#/bench_}"

rm -rf "$results"
mkdir -p "$results" "$out" build/bench/work
export ZQ_BENCH_DIR="$PWD/build/bench/work"
repetitions=15 min_time=0.015  # short and many: a machine that others use too is slow by spells
if [ -n "$quick" ]; then
    export ZQ_BENCH_QUICK=1
    repetitions=2 min_time=0.002
fi

# run NAME AREA [ARGUMENT...]: what it does stands in results/NAME.json, what it says in results/NAME.log
run() {
    local name=$1 area=$2
    shift 2
    echo "== $name"
    "./build/bench/bench/bench_$area" --benchmark_out="$results/$name.json" --benchmark_out_format=json \
        --benchmark_repetitions="$repetitions" --benchmark_min_time="$min_time" \
        --benchmark_enable_random_interleaving=true "$@" >"$results/$name.log" 2>&1 ||
        { tail -20 "$results/$name.log" >&2; exit 1; }
}

few=$((repetitions < 7 ? repetitions : 7)) fewest=$((repetitions < 3 ? 1 : 3))
for area in "${areas[@]}"; do
    case $area in
        pools)  # one of the rivals has one pool a process, whose size is read once
            UV_THREADPOOL_SIZE=1 repetitions=$few run pools-1 pools --benchmark_filter='1 slot'
            UV_THREADPOOL_SIZE=2 repetitions=$few run pools-2 pools --benchmark_filter='2 slots'
            # how long the system takes to wake a thread differs more by the moment than by who asks for it
            UV_THREADPOOL_SIZE=1 repetitions=$((4 * repetitions)) run pools-idle pools --benchmark_filter='idle pool' ;;
        memory)  # an allocator that is loaded by name needs room for its variables of each thread
            GLIBC_TUNABLES=glibc.rtld.optional_static_tls=65536 run memory memory ;;
        files|processes|growth) repetitions=$few run "$area" "$area" ;;
        timers) repetitions=$fewest run timers timers ;;  # real time passes
        locks)  # what several threads make of a lock differs much from one time to the next
            repetitions=$((4 * repetitions)) run locks locks ;;
        *) run "$area" "$area" ;;
    esac
done
python3 bench/report.py "$results" "$out"
echo "written: $out/benchmarks.md"
