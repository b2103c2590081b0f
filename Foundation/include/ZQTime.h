#ifndef ZQTIME_H
#define ZQTIME_H

/// @file
/// Clocks, elapsed time and timers.
///
/// Use ZQTimer to have something done again and again, ZQTimeMeter to measure how long something takes, ZQDateTime::GetTickCount() where a bare number is wanted. Both run
/// on the monotonic clock, which setting the wall clock does not move and which stands still while the machine is
/// suspended. ZQDateTime::GetEpochMilliseconds() is the wall clock.
///
/// @code
/// ZQTimeMeter meter;
/// Work();
/// std::printf("%lu ms\n", meter.GetElapsed());
///
/// ZQTimer::ModuleInit(0);
/// ZQTimer timer(1);
/// timer.Init(1000, [](ZQTimer&, void*) { std::puts("a second has passed"); }, nullptr);
/// timer.Start(false);
/// @endcode

#include "ZQDefine.h"
#include "ZQMutex.h"

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

/// A periodic timer. Once started, its callback runs again and again, on a worker of the timer module, each time at least an
/// interval after it was handed to the workers before, and never twice at once: where a callback takes longer than the
/// interval, the next run follows when it has returned.
///
/// | state       | Init()  | Start()                 | Stop()                            | destruction      |
/// |-------------|---------|-------------------------|-----------------------------------|------------------|
/// | made        | `true`  | `false`                 | -                                 | at once          |
/// | initialised | `false` | `true`, started         | -                                 | at once          |
/// | started     | `false` | `true`, nothing changes | initialised; may wait for its end | as by Stop(true) |
///
/// One service thread looks at all started timers every 5 ms, so a callback starts up to that much late, and later where
/// all workers are busy. The interval runs on the monotonic clock, which stands still while the machine is suspended.
///
/// Threads: any operation from any thread, also from inside callbacks, which run without a lock of the library held. A
/// callback may stop, start and destroy its own timer; it must not touch a timer that it has destroyed. What Stop() does not
/// wait for is its caller's care: see there.
class ZQ_API ZQTimer
{
public:
    /// What a timer runs: it gets the timer and the pointer of Init().
    typedef void (*Callback)(ZQTimer& timer, void* user);

    /// Takes up the timer module: starts the service thread, called `ZQTimer`, and makes the pool of workers if nobody has.
    /// It is counted. A call while another thread takes the module down waits for that, so it must not come from inside a
    /// callback unless the module is held otherwise.
    /// @param nThreads  the most workers, less than 1: 2 for each processor and 3 more; of the first user alone
    /// @return `false` if the platform has no thread to give: then it does not count
    static bool ModuleInit(int nThreads);
    /// Gives up the module; the last user's call waits for running callbacks and stops the service thread and the workers.
    /// Timers that are still started do not run any more, also not when the module is taken up again, until they are stopped
    /// and started anew. Not the last one from inside a callback, for which it would wait. One call more than ModuleInit()
    /// succeeded ends the process with "v>=0".
    static void ModuleUninit();

    /// Makes a timer that does nothing yet.
    /// @param id  kept for GetTimerID(), without meaning for the library
    explicit ZQTimer(long id);
    /// Stops the timer as by Stop(true). From inside its own callback it does not wait.
    ~ZQTimer();
    ZQTimer(const ZQTimer&) = delete;
    ZQTimer& operator=(const ZQTimer&) = delete;

    /// Says what the timer does, once in its life.
    /// @param intervalMs  milliseconds, 0 or more; 0: at each look of the service thread
    /// @param callback    not null
    /// @param user        handed to @p callback
    /// @return `false`, with nothing changed, for a negative interval, a null callback or a second call
    bool Init(int intervalMs, Callback callback, void* user);
    /// Starts the timer. Whether the module runs is not looked at: without it nothing happens until it does.
    /// @param fireNow  `true`: the first run is due at once (for an interval longer than the machine is up, when that has
    ///                 passed); `false`: after one interval
    /// @return `false` before Init()
    bool Start(bool fireNow);
    /// Stops the timer; a run that was due and has not begun is taken back.
    ///
    /// A timer that is not started is left alone, whatever @p wait says. So when Stop(false) was called before, or another
    /// thread stops at the same time, a callback may still be running after this: do not destroy the timer or what its
    /// callback uses until it has returned. Nor is a callback waited for once the module has been given up.
    /// @param wait  `true`: return when a running callback has returned, but not from inside it
    void Stop(bool wait);
    /// The identifier given at construction.
    long GetTimerID() const;
    /// Runs the callback once; only the module's workers call it.
    void RunCallback();

private:
    friend class ZQTimerGlobal;
    struct _StruShared;

    const long m_lTimerID;
    bool m_bStarted;
    int m_nInterval;
    Callback m_pCallback;
    void* m_pUser;
    ZQMutex m_mutex;
    _StruShared* m_pShared;
    ZQTimeMeter m_meter;  // when the timer was handed out last
};

#endif
