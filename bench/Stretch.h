#ifndef ZQ_BENCH_STRETCH_H
#define ZQ_BENCH_STRETCH_H

/// The part of a workload that counts.

#include "Bench.h"

#ifdef ZQ_HAVE_CALLGRIND
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS
#endif

namespace bench {
/// Adds the time for which it lives to an outcome. A program that runs under callgrind with `--collect-atstart=no` has the
/// steps of that time counted, if this thread makes them; elsewhere, it is a few instructions.
class Stretch {
public:
    explicit Stretch(Outcome& outcome) : m_outcome(outcome), m_began(Now()) {
        CALLGRIND_ZERO_STATS;
        CALLGRIND_TOGGLE_COLLECT;
    }
    ~Stretch() {
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS;
        m_outcome.nanoseconds += Now() - m_began;
    }
    Stretch(const Stretch&) = delete;
    Stretch& operator=(const Stretch&) = delete;

private:
    Outcome& m_outcome;
    const double m_began;
};
}  // namespace bench

#endif
