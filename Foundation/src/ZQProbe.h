#ifndef ZQPROBE_H
#define ZQPROBE_H

#ifdef ZQ_PROBES
#ifdef __clang__
#define STAP_SDT_ARG_CONSTRAINT nr  // allowed to choose, it would store every argument to the stack
#endif
#include <sys/sdt.h>
#define ZQ_PROBE(count, name, ...) STAP_PROBE##count(zqfoundation, name, __VA_ARGS__)
#else
#define ZQ_PROBE(count, name, ...) Ignore(__VA_ARGS__)
#endif

#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wgnu-zero-variadic-macro-arguments"  // in what <sys/sdt.h> makes of a probe
#endif

/// The static probes of the library, provider `zqfoundation`, for tracers of a running program. docs/observing.md says when
/// each fires and what its arguments are; programs of its users go by that table.
///
/// A probe that nobody traces is one `nop`: a note in the file says where a tracer finds the arguments, a register or a place in
/// memory. So a probe stands where its arguments are at hand, before a call rather than behind it; nothing is computed or kept
/// for it. The functions are always inlined, so that the note names the caller's registers.
struct ZQProbe
{
    [[gnu::always_inline]] static void TaskQueued(const void* core, const void* data, bool urgent)
    {
        ZQ_PROBE(3, task_queued, core, data, urgent);
    }
    /// @param fnTask  tells the reader whose task pool it is
    [[gnu::always_inline]] static void TaskBegun(const void* core, const void* data, void (*fnTask)(void*, void*))
    {
        ZQ_PROBE(3, task_begun, core, data, fnTask);
    }
    [[gnu::always_inline]] static void TaskDone(const void* core, const void* data)
    {
        ZQ_PROBE(2, task_done, core, data);
    }
    [[gnu::always_inline]] static void TaskRemoved(const void* core, const void* data)
    {
        ZQ_PROBE(2, task_removed, core, data);
    }

    [[gnu::always_inline]] static void WorkerStarted(const void* pool, long threadId)
    {
        ZQ_PROBE(2, worker_started, pool, threadId);
    }
    [[gnu::always_inline]] static void WorkerExited(const void* pool, long threadId, bool idle)
    {
        ZQ_PROBE(3, worker_exited, pool, threadId, idle);
    }

    [[gnu::always_inline]] static void TimerHandedOut(const void* timer, int intervalMs, unsigned long elapsedMs)
    {
        ZQ_PROBE(3, timer_handed_out, timer, intervalMs, elapsedMs);
    }
    template <class Callback> [[gnu::always_inline]] static void TimerBegun(const void* timer, Callback callback)
    {
        ZQ_PROBE(2, timer_begun, timer, callback);
    }
    /// @param timer  its address alone: the callback may have destroyed it
    [[gnu::always_inline]] static void TimerDone(const void* timer)
    {
        ZQ_PROBE(1, timer_done, timer);
    }

    [[gnu::always_inline]] static void ChunkAdded(const void* pool, const void* chunk, unsigned int slices)
    {
        ZQ_PROBE(3, chunk_added, pool, chunk, slices);
    }
    [[gnu::always_inline]] static void ChunkReleased(const void* pool, const void* chunk)
    {
        ZQ_PROBE(2, chunk_released, pool, chunk);
    }

private:
    template <class... Arguments> static void Ignore(const Arguments&...)
    {
    }
};

#ifdef __clang__
#pragma clang diagnostic pop
#endif
#undef ZQ_PROBE

#endif
