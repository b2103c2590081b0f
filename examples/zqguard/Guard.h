#ifndef ZQGUARD_GUARD_H
#define ZQGUARD_GUARD_H

#include "GuardState.h"
#include "ZQMutex.h"
#include "ZQTime.h"

#include <deque>
#include <string>
#include <vector>

/// What to keep alive, and how.
struct GuardOptions
{
    std::string strName;
    std::vector<std::string> listCommand;  ///< The program and its arguments; not empty.
    int nRestarts = 5;                     ///< The most restarts within a minute.
    int nTimeoutMs = 5000;                 ///< How long the program may take to end when it is asked to.
};

/// Keeps a program alive: starts it, and again whenever it ends. A timer looks after it; Run() waits.
class Guard
{
public:
    /// The program's exit status that stands for: it could not be started.
    static constexpr int ExitCannotStart = 72;

    Guard(const GuardOptions& options, SharedGuardState& state);
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    /// Returns after an interrupt, when the program has ended, and when it cannot be kept alive.
    /// @return the guard's exit status
    int Run();

private:
    static void OnTimer(ZQTimer& timer, void* guard);
    void Watch() ZQ_EXCLUDES(m_mutex);
    bool StartProgram() ZQ_REQUIRES(m_mutex);
    void HandleEnd(int status) ZQ_REQUIRES(m_mutex);
    void GiveUp(int exitStatus, const char* reason) ZQ_REQUIRES(m_mutex);
    bool MayRestart() ZQ_REQUIRES(m_mutex);
    void Publish() ZQ_REQUIRES(m_mutex);
    void EndProgram() ZQ_REQUIRES(m_mutex);

    const GuardOptions& m_options;
    SharedGuardState& m_state;
    ZQMutex m_mutex;
    ZQCond m_cond;                        // Run() waits here until the guard gives up
    bool m_bOver ZQ_GUARDED_BY(m_mutex);  // given up
    int m_nExitStatus ZQ_GUARDED_BY(m_mutex);
    GuardState m_now ZQ_GUARDED_BY(m_mutex);
    std::deque<unsigned long> m_listRestarts ZQ_GUARDED_BY(m_mutex);  // the ticks of those of the last minute
};

#endif
