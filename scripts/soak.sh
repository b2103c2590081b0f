#!/usr/bin/env bash
# Looks for faults by chance and prints the figures of docs/reliability.md. Every run has a seed, so that it can be run again.
#   soak.sh [--minutes N] [--seeds N] [--step-clock|--virtual] [forks|races|schedules|tasks|timers|clocks ...]   no part: all
# --minutes     how long the timers run (1)
# --seeds       how many runs under perturbed schedules (200)
# --step-clock  lets "clocks" set the wall clock of the whole machine by an hour for a while; a fault leaves it so
# --virtual     runs "clocks" in an emulated machine (x86-64) and sets the wall clock of that one, without privileges
set -euo pipefail
cd "$(dirname "$0")/.."

minutes=1 seeds=200 step=() virtual=() parts=()
while [ $# -gt 0 ]; do
    case $1 in
        --minutes) minutes=$2; shift ;;
        --seeds) seeds=$2; shift ;;
        --step-clock) step=(--step-clock) ;;
        --virtual) step=(--step-clock) virtual=(stress/virtual.sh) ;;
        forks|races|schedules|tasks|timers|clocks) parts+=("$1") ;;
        *) echo "soak.sh: unknown: $1" >&2; exit 2 ;;
    esac
    shift
done
[ ${#parts[@]} -gt 0 ] || parts=(forks races schedules tasks timers clocks)

./scripts/setup.sh build soak
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# build DIRECTORY PRESET: the stress programs alone
build() {
    cmake --preset "$2" -B "build/$1" -DZQ_BUILD_STRESS=ON -DZQ_BUILD_TESTS=OFF -DZQ_BUILD_EXAMPLES=OFF >"$log" &&
        nice cmake --build "build/$1" >"$log" || { cat "$log"; exit 1; }
}

# run COMMAND...: keeps its words for when it fails
run() {
    nice "$@" >"$log" 2>&1 || { echo "soak.sh: failed ($?): $*"; cat "$log"; exit 1; }
}

modules=(locks memory pools tasks threads timers)
stress=build/soak/stress/zq_stress
build soak release
for part in "${parts[@]}"; do
    echo "== $part"
    case $part in
        forks)
            run $stress forks --items 1000
            cat "$log"
            ;;
        races)
            build soak-tsan tsan
            for module in "${modules[@]}" forks; do
                for seed in 1 2 3; do
                    run env TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 atexit_sleep_ms=0" \
                        build/soak-tsan/stress/zq_stress "$module" --seed "$seed" --seconds 5
                done
                tail -n 1 "$log"
            done
            echo "no report of the sanitizer in 3 runs of 5 s each, without suppressions"
            ;;
        schedules)
            for ((seed = 1; seed <= seeds; ++seed)); do
                run env ZQ_PERTURB_SEED="$seed" LD_PRELOAD="$PWD/build/soak/stress/libzqperturb.so" \
                    $stress "${modules[seed % ${#modules[@]}]}" --seed "$seed" --seconds 0.5
            done
            echo "$seeds runs of 0.5 s without a fault"
            ;;
        tasks)
            run $stress tasks --items 10000000
            cat "$log"
            ;;
        timers)
            run $stress timers --items 10000 --seconds $((60 * minutes))
            cat "$log"
            ;;
        clocks)
            [ ${#step[@]} -gt 0 ] ||
                echo "wall clock stepped: skipped: only with --virtual, or with --step-clock, since it is the whole machine's"
            run "${virtual[@]}" stress/wrap.sh $stress clocks --seconds 15 "${step[@]}"
            cat "$log"
            ;;
    esac
done
