#ifndef ZQDEFINE_H
#define ZQDEFINE_H

/// @file
/// What several public headers share: the export macro, the lock annotations and the check that the list templates need.
/// Programs do not include this header themselves.

#include <cstdio>

/// Marks what the shared object exports.
#define ZQ_API __attribute__((visibility("default")))

// Lock annotations. Clang checks them with `-Wthread-safety`; for every other compiler they are empty. Their names
// and meanings are those of the Clang documentation on thread safety analysis.
#if defined(__clang__)
#define ZQ_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZQ_THREAD_ANNOTATION(x)
#endif

#define ZQ_CAPABILITY(x) ZQ_THREAD_ANNOTATION(capability(x))
#define ZQ_SCOPED_CAPABILITY ZQ_THREAD_ANNOTATION(scoped_lockable)
#define ZQ_GUARDED_BY(x) ZQ_THREAD_ANNOTATION(guarded_by(x))
#define ZQ_PT_GUARDED_BY(x) ZQ_THREAD_ANNOTATION(pt_guarded_by(x))
#define ZQ_ACQUIRED_AFTER(...) ZQ_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
#define ZQ_ACQUIRED_BEFORE(...) ZQ_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define ZQ_REQUIRES(...) ZQ_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZQ_EXCLUDES(...) ZQ_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZQ_ACQUIRE(...) ZQ_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZQ_ACQUIRE_SHARED(...) ZQ_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define ZQ_TRY_ACQUIRE(...) ZQ_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define ZQ_RELEASE(...) ZQ_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZQ_RELEASE_SHARED(...) ZQ_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define ZQ_RELEASE_GENERIC(...) ZQ_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
// For the bodies of the locks themselves, which take a platform lock that the analysis does not know.
#define ZQ_NO_THREAD_SAFETY_ANALYSIS ZQ_THREAD_ANNOTATION(no_thread_safety_analysis)

/// Prints "_Abort: expression, path, line" to standard output and ends the process by a segmentation fault.
/// @param expression  the condition that does not hold, as text
/// @param path        the module that found it
/// @param line        the line that found it
/// Threads: callable from any. Never returns.
[[noreturn]] __attribute__((cold, noinline, no_sanitize("null"))) inline void
ZQCrashReport(const char* expression, const char* path, int line)
{
    char text[256];
    std::snprintf(text, 255, "_Abort: %s, %s, %d", expression, path, line);
    text[255] = '\0';
    std::puts(text);
    std::fflush(stdout);                       // a report into a pipe must not be lost
    volatile int* volatile nowhere = nullptr;  // both volatile: the fault itself must happen
    *nowhere = 0;                              // NOLINT(clang-analyzer-core.NullDereference): it is what is meant
    __builtin_trap();
}

/// Does nothing when @p holds is `true`, else reports as ZQCrashReport() does.
inline void ZQCrashUnless(bool holds, const char* expression, const char* path, int line)
{
    if (__builtin_expect(!holds, 0))
    {
        ZQCrashReport(expression, path, line);
    }
}

#endif
