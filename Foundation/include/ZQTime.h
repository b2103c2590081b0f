#ifndef ZQTIME_H
#define ZQTIME_H

/// @file
/// Clocks and elapsed time.
///
/// Use ZQTimeMeter to measure how long something takes, ZQDateTime::GetTickCount() where a bare number is wanted. Both run
/// on the monotonic clock, which setting the wall clock does not move and which stands still while the machine is
/// suspended. ZQDateTime::GetEpochMilliseconds() is the wall clock.
///
/// @code
/// ZQTimeMeter meter;
/// Work();
/// std::printf("%lu ms\n", meter.GetElapsed());
/// @endcode

#include "ZQDefine.h"

/// The time of day; for now the clocks alone.
///
/// Threads: the static functions may be called from any thread.
class ZQ_API ZQDateTime
{
public:
    /// Milliseconds of the monotonic clock (`CLOCK_MONOTONIC`), from a start that means nothing. Ends the process if the
    /// clock cannot be read.
    static unsigned long GetTickCount();
    /// The same clock in the same unit as GetTickCount().
    static unsigned long GetPerformanceCounter();
    /// The milliseconds between two ticks, of which the low 32 bits are given.
    /// @return `later - earlier`; where the tick has passed 2^32 in between, one less than that
    static unsigned int CountElapsed(unsigned int later, unsigned int earlier);
    /// Milliseconds of the wall clock since 1970-01-01 UTC, or -1 if it cannot be read. Over `gettimeofday(2)`.
    static long GetEpochMilliseconds();
};

/// A stopwatch in milliseconds of the monotonic clock.
///
/// Threads: none of this locks, and reading can write: share one only under a lock.
class ZQ_API ZQTimeMeter
{
public:
    /// Starts now.
    ZQTimeMeter();
    ~ZQTimeMeter();

    /// Starts anew, now.
    void Reset();
    /// Starts at @p tick, a value of ZQDateTime::GetTickCount(); 0 makes the whole tick elapsed time.
    void Reset(unsigned long tick);
    /// The milliseconds since the start. Where the start lies in the future the result is 0, and the meter starts now.
    unsigned long GetElapsed() const;

private:
    mutable unsigned long m_nStartTick;
};

#endif
