#ifndef ZQCHECK_H
#define ZQCHECK_H

#include "ZQDefine.h"

/// The two fatal checks, bound to the path that a module's reports name. The texts are arguments, not made by a macro, so
/// that reformatting the code never changes a report. A check that holds costs one test; the reports are out of line.
class ZQCheck
{
public:
    /// @param module  the path in the reports; a literal
    explicit constexpr ZQCheck(const char* module) : m_pszModule(module)
    {
    }

    /// First convention: "abort path:line expre: expression, message " on standard error, then `abort(3)`.
    void AbortUnless(bool holds, const char* expression, const char* message, int line = __builtin_LINE()) const
    {
        if (__builtin_expect(!holds, 0))
        {
            Abort(expression, message, line);
        }
    }

    /// Second convention: "_Abort: expression, path, line" on standard output, then a segmentation fault.
    void CrashUnless(bool holds, const char* expression, int line = __builtin_LINE()) const
    {
        ZQCrashUnless(holds, expression, m_pszModule, line);
    }

    /// The report of AbortUnless(), and the end.
    [[noreturn]] __attribute__((cold, noinline)) void
    Abort(const char* expression, const char* message, int line = __builtin_LINE()) const;

private:
    const char* m_pszModule;
};

constexpr ZQCheck MemoryPoolCheck("Foundation/src/ZQMemoryPool");
constexpr ZQCheck MutexCheck("Foundation/src/ZQMutex");
constexpr ZQCheck OSApiCheck("Foundation/src/LinuxOSApi");
constexpr ZQCheck ThreadPoolCheck("Foundation/src/ZQThreadPool");
constexpr ZQCheck TimeCheck("Foundation/src/ZQTime");

#endif
