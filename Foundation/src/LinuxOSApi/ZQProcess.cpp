#include "ZQOSApi.h"

#include "ZQOSResult.h"
#include "ZQProcessSpawn.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr int MaxArguments = 127;
constexpr int StartFailed = 72;
constexpr int WaitForEver = -1;
constexpr int WaitSlice = 10;  // milliseconds

/// A process with a given id: the one that has it now and no later one, where the kernel has descriptors for processes.
/// Elsewhere, and for the id of a thread, whichever has it at each call.
class Process
{
public:
    explicit Process(long pid)
        : m_nId(static_cast<pid_t>(pid)), m_nFd(static_cast<int>(syscall(SYS_pidfd_open, m_nId, 0)))
    {
    }
    ~Process()
    {
        if (m_nFd != -1)
        {
            close(m_nFd);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// @return whether it could be sent
    bool Signal(int number) const
    {
        if (m_nFd != -1)
        {
            const bool bSent = syscall(SYS_pidfd_send_signal, m_nFd, number, nullptr, 0) == 0;
            if (bSent || errno != ENOSYS)
            {
                return bSent;
            }
        }
        return kill(m_nId, number) == 0;
    }

    /// Takes the exit status, without waiting for it, if the process is a child and has ended.
    void Reap() const
    {
        siginfo_t info;
        const bool bDone = m_nFd != -1 && (waitid(P_PIDFD, static_cast<id_t>(m_nFd), &info, WEXITED | WNOHANG) == 0 ||
                                           errno != EINVAL);  // which says that the kernel cannot wait by descriptor
        if (!bDone)
        {
            (void)waitpid(m_nId, nullptr, WNOHANG);
        }
    }

private:
    const pid_t m_nId;
    const int m_nFd;  // or -1; the kernel marks it close-on-exec
};

/// Whether one process can have the id. 0 and numbers that a narrower type turns into others would name whole groups.
bool IsProcessId(const char* function, long pid)
{
    if (pid > 0 && pid <= INT_MAX)
    {
        return true;
    }
    printf("%s: The process id %ld is invalid.\n", function, pid);
    return false;
}

/// The child's side of the fork. Other threads of the parent may have held any lock, so nothing here takes one: no
/// allocation, no buffered output.
/// @param szOutput  what to write to instead of the console, or null to keep it
[[noreturn]] void RunProgram(const char* path, char* const* arguments, const char* szOutput)
{
    if (szOutput != nullptr)
    {
        (void)ZQDetachFromConsole(szOutput);
    }
    // For what other threads opened after the listing; a kernel that does not know it leaves those open.
    (void)close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    execvp(path, arguments);
    _exit(StartFailed);
}
}  // namespace

long ZQOpenProcess(const char* path, bool bInheritConsole, int argc, const char** argv)
{
    if (path == nullptr)
    {
        puts("ZQOpenProcess: The path is null.");
        return -1;
    }
    if (argc > MaxArguments)
    {
        puts("ZQOpenProcess: argc >= 128. ");
        return -1;
    }
    const char* arguments[1 + MaxArguments + 1] = {path};  // the null behind the last counts too
    std::copy_n(argv, std::max(argc, 0), arguments + 1);
    std::string strOutput;
    if (!bInheritConsole && !ZQUnlessNoMemory(false, [&] { return strOutput = ZQNohupName(path), true; }))
    {
        return -1;
    }

    _SetFD_CLOEXEC();
    fflush(stdout);  // what is buffered is the parent's to write, and comes before the child's messages
    const pid_t pid = fork();
    if (pid == -1)
    {
        puts("ZQOpenProcess: fork fail.");
    }
    else if (pid == 0)
    {
        RunProgram(path, const_cast<char* const*>(arguments), bInheritConsole ? nullptr : strOutput.c_str());
    }
    return pid;
}

bool ZQCloseProcess(long pid, int timeoutMs)
{
    if (!IsProcessId("ZQCloseProcess", pid))
    {
        return false;
    }
    if (timeoutMs < WaitForEver)
    {
        printf("ZQCloseProcess: The timeout %d is invalid.\n", timeoutMs);
        return false;
    }
    const Process process(pid);
    if (!process.Signal(SIGINT))
    {
        return false;
    }
    const bool bForEver = timeoutMs == WaitForEver;
    int remaining = timeoutMs;
    while (process.Signal(0))
    {
        process.Reap();
        ZQSleep(WaitSlice);
        if (!bForEver)
        {
            remaining -= WaitSlice;
            if (remaining <= 0)
            {
                return false;
            }
        }
    }
    return bForEver || remaining > 0;
}

bool ZQTerminateProcess(long pid)
{
    if (!IsProcessId("ZQTerminateProcess", pid))
    {
        return false;
    }
    const Process process(pid);
    if (!process.Signal(SIGTERM))
    {
        return false;
    }
    process.Reap();
    return true;
}

bool ZQIsProcessAlive(long pid)
{
    return IsProcessId("ZQIsProcessAlive", pid) && kill(static_cast<pid_t>(pid), 0) == 0;
}
