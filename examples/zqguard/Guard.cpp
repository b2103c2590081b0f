#include "Guard.h"

#include "Interrupt.h"
#include "ZQOSApi.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/wait.h>

namespace
{
constexpr int WatchMs = 50;
constexpr int WaitSliceMs = 100;
constexpr int EndPollMs = 10;
constexpr unsigned long WindowMs = 60000;
constexpr int ExitGaveUp = 1;

/// Reaps a child that has ended. @return whether it has, or is gone for another reason: then the status is -1
bool HasEnded(long pid, int& status)
{
    status = -1;
    const pid_t reaped = waitpid(static_cast<pid_t>(pid), &status, WNOHANG);
    return reaped == pid || (reaped == -1 && errno == ECHILD);
}
}  // namespace

Guard::Guard(const GuardOptions& options, SharedGuardState& state)
    : m_options(options), m_state(state), m_bOver(false), m_nExitStatus(0), m_now{-1, 0, -1, 0}
{
}

int Guard::Run()
{
    ZQTimer timer(0);
    timer.Init(WatchMs, OnTimer, this);
    m_mutex.Lock();
    if (StartProgram() && !timer.Start(false))
    {
        EndProgram();
        GiveUp(ExitGaveUp, "cannot be watched");
    }
    while (!m_bOver && !Interrupt::Requested())
    {
        m_cond.WaitTimeout(m_mutex, WaitSliceMs);
    }
    m_mutex.Unlock();
    timer.Stop(true);  // without the lock, which its callback takes

    ZQAutoMutex lock(m_mutex);
    if (!m_bOver)
    {
        EndProgram();
    }
    return m_nExitStatus;
}

void Guard::OnTimer(ZQTimer&, void* guard)
{
    static_cast<Guard*>(guard)->Watch();
}

void Guard::Watch()
{
    ZQAutoMutex lock(m_mutex);
    int status = 0;
    if (!m_bOver && !Interrupt::Requested() && HasEnded(m_now.nPid, status))
    {
        HandleEnd(status);
    }
}

bool Guard::StartProgram()
{
    std::vector<const char*> args;
    for (size_t i = 1; i < m_options.listCommand.size(); ++i)
    {
        args.push_back(m_options.listCommand[i].c_str());
    }
    m_now.nPid = ZQOpenProcess(m_options.listCommand[0].c_str(), true, static_cast<int>(args.size()), args.data());
    if (m_now.nPid == -1)
    {
        GiveUp(ExitCannotStart, "cannot be started");
        return false;
    }
    ++m_now.nStarts;
    Publish();
    return true;
}

void Guard::HandleEnd(int status)
{
    m_now.nPid = -1;
    m_now.nLastExit = status;
    Publish();
    // Later on it is an end like any other: the file may be missing for the moment of an upgrade.
    if (m_now.nStarts == 1 && WIFEXITED(status) && WEXITSTATUS(status) == ExitCannotStart)
    {
        GiveUp(ExitCannotStart, "cannot be started");
    }
    else if (!MayRestart())
    {
        GiveUp(ExitGaveUp, "ends too often");
    }
    else
    {
        StartProgram();
    }
}

void Guard::GiveUp(int exitStatus, const char* reason)
{
    fprintf(stderr, "zqguard: %s %s\n", m_options.listCommand[0].c_str(), reason);
    m_bOver = true;
    m_nExitStatus = exitStatus;
    m_cond.Signal();
}

/// Whether one more restart stays within the bound; then it is counted.
bool Guard::MayRestart()
{
    const unsigned long now = ZQDateTime::GetTickCount();
    while (!m_listRestarts.empty() && now - m_listRestarts.front() >= WindowMs)
    {
        m_listRestarts.pop_front();
    }
    if (m_listRestarts.size() >= static_cast<size_t>(m_options.nRestarts))
    {
        return false;
    }
    m_listRestarts.push_back(now);
    return true;
}

void Guard::Publish()
{
    m_now.nSinceEpoch = std::time(nullptr);
    m_state.Write(m_now);
}

/// Ends the program politely, then firmly, then by force: a guard that is asked to end leaves no program behind.
void Guard::EndProgram()
{
    const long pid = m_now.nPid;
    if (pid == -1 || ZQCloseProcess(pid, m_options.nTimeoutMs))
    {
        return;
    }
    int status = 0;
    if (HasEnded(pid, status))
    {
        return;
    }
    fprintf(stderr, "zqguard: %s ignores the interrupt\n", m_options.listCommand[0].c_str());
    ZQTerminateProcess(pid);
    const ZQTimeMeter meter;
    while (!HasEnded(pid, status))
    {
        if (meter.GetElapsed() > static_cast<unsigned long>(m_options.nTimeoutMs))
        {
            if (kill(static_cast<pid_t>(pid), SIGKILL) != 0)
            {
                fprintf(stderr, "zqguard: %s cannot be ended: %s\n", m_options.listCommand[0].c_str(), strerror(errno));
                return;
            }
            waitpid(static_cast<pid_t>(pid), &status, 0);
            return;
        }
        ZQSleep(EndPollMs);
    }
}
