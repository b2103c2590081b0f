// Keeps a program alive, and tells others how it does.

#include "Guard.h"
#include "Interrupt.h"
#include "ZQOSApi.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
enum : int
{
    ExitDone = 0,
    ExitFailed = 1,
    WrongUsage = 2,
    ExitNameTaken = 3
};

constexpr size_t LongestName = 200;
constexpr size_t MostWords = 128;  // the program and 127 arguments

/// The lock file of a name. Always in the same place, whatever the environment says: it is what makes a guard the only one.
std::string LockFile(const std::string& name)
{
    return "/tmp/" + GuardObject(name) + ".lock";
}

/// Whether a guard of that name runs; what one that was killed has left behind does not count.
bool IsGuarded(const std::string& name)
{
    if (ZQIsFile(LockFile(name).c_str()) != 0)
    {
        return false;
    }
    ZQProcessMutex only(LockFile(name).c_str());
    const bool bFree = only.TryLock();
    if (bFree)
    {
        only.Unlock();
    }
    return !bFree;
}

/// "exit status 3" or "signal 11".
std::string ExitText(long status)
{
    if (status == -1)
    {
        return "none";
    }
    const int code = static_cast<int>(status);
    return WIFSIGNALED(code) ? "signal " + std::to_string(WTERMSIG(code))
                             : "exit status " + std::to_string(WEXITSTATUS(code));
}

int PrintStatus(const std::string& name)
{
    SharedGuardState shared(name, false);
    GuardState state;
    if (!IsGuarded(name) || !shared.Open() || !shared.Read(state))
    {
        fprintf(stderr, "zqguard: there is no guard of that name: %s\n", name.c_str());
        return ExitFailed;
    }
    char since[32];
    const char* text = ZQDateTime(state.nSinceEpoch).Format(since, sizeof since);
    const int written = dprintf(STDOUT_FILENO, "pid: %ld\nstarts: %ld\nlast exit: %s\nsince: %s\n", state.nPid,
                                state.nStarts, ExitText(state.nLastExit).c_str(), text != nullptr ? text : "unknown");
    return written < 0 ? ExitFailed : ExitDone;
}

int RunGuard(const GuardOptions& options)
{
    ZQProcessMutex only(LockFile(options.strName).c_str());
    if (!only.TryLock())
    {
        fprintf(stderr, "zqguard: there is a guard of that name already: %s\n", options.strName.c_str());
        return ExitNameTaken;
    }
    int status = ExitFailed;
    Interrupt::Catch();
    {
        SharedGuardState shared(options.strName, true);  // removed before the next guard may come
        if (!shared.Open() || !ZQTimer::ModuleInit(1))
        {
            fprintf(stderr, "zqguard: no shared memory or no thread for a guard: %s\n", options.strName.c_str());
        }
        else
        {
            status = Guard(options, shared).Run();
            ZQTimer::ModuleUninit();
        }
    }
    only.Unlock();
    return status;
}

int Run(int argc, char** argv)
{
    // The library's notes have no place among the output of the program, which inherits the descriptor below the stream.
    FILE* nowhere = fopen("/dev/null", "we");
    stdout = nowhere != nullptr ? nowhere : stderr;
    signal(SIGCHLD, SIG_DFL);  // whoever started this may have it ignored: then no exit status could be told

    GuardOptions options;
    std::string status;
    CLI::App app("Keeps a program alive: starts it, and again whenever it ends.", "zqguard");
    app.add_option("--restart", options.nRestarts, "The most restarts within a minute (default 5)")
        ->type_name("N")
        ->check(CLI::Range(0, 1000000));
    app.add_option("--timeout", options.nTimeoutMs, "How long the program may take to end (default 5000)")
        ->type_name("MS")
        ->check(CLI::Range(1, 86400000));
    app.add_option("--name", options.strName, "The guard's name (default: the program's file name)");
    app.add_option("--status", status, "Print how the guard of that name does")->type_name("NAME");
    app.footer(
        "Use as\n  zqguard [OPTIONS] -- PROGRAM ARG...\n  zqguard --status NAME\n\n"
        "Exit status: 0 ended on request (by an interrupt, a hang-up or a request to terminate); 1 the program\n"
        "ends too often, or no such guard; 2 wrong usage; 3 the name is taken; 72 the program cannot be started.");
    app.prefix_command();
    try
    {
        app.parse(argc, argv);
        options.listCommand = app.remaining();
        if (!options.listCommand.empty() && options.listCommand[0] == "--")
        {
            options.listCommand.erase(options.listCommand.begin());
        }
        else if (!options.listCommand.empty() && options.listCommand[0][0] == '-')
        {
            throw CLI::ExtrasError({options.listCommand[0]});
        }
        if (options.listCommand.empty() == status.empty())
        {
            throw CLI::RequiredError("Either -- PROGRAM or --status");
        }
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? ExitDone : WrongUsage;
    }
    if (!status.empty())
    {
        return PrintStatus(status);
    }
    if (options.strName.empty())
    {
        const std::string& program = options.listCommand[0];
        options.strName = program.substr(program.find_last_of('/') + 1);
    }
    if (options.strName.empty() || options.strName.size() > LongestName || options.listCommand.size() > MostWords ||
        options.strName.find('/') != std::string::npos)
    {
        fputs("zqguard: the name cannot be one of a file, or there are more than 127 arguments\n", stderr);
        return WrongUsage;
    }
    return RunGuard(options);
}
}  // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& error)
    {
        fprintf(stderr, "zqguard: %s\n", error.what());
        return 1;
    }
}
