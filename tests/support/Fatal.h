#ifndef ZQTESTS_FATAL_H
#define ZQTESTS_FATAL_H

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

/// Ends a child process. One that counts what it runs has to write that down, which only a usual end does.
[[noreturn]] inline void EndChild(int status) {
    std::getenv("ZQTESTS_COUNTED") != nullptr ? std::exit(status) : _exit(status);
}

/// Expects that @p action ends the process by @p signal with @p report, a regular expression, on standard error.
template <class Action> void ExpectDeath(Action action, int signal, const std::string& report) {
    SCOPED_TRACE(report);
    // An emulator cannot run itself anew, so there a death test forks; everywhere else it starts the program again.
#if defined(__aarch64__)
    GTEST_FLAG_SET(death_test_style, "fast");
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
    EXPECT_EXIT(action(), testing::KilledBySignal(signal), report);
}

/// The same by SIGABRT.
template <class Run> void ExpectAbort(Run run, const std::string& report) { ExpectDeath(run, SIGABRT, report); }

/// The same by SIGSEGV with the report on standard output, at which death tests do not look.
template <class Action> void ExpectCrash(Action action, const std::string& report) {
    ExpectDeath([&] { dup2(STDERR_FILENO, STDOUT_FILENO), action(); }, SIGSEGV, report);
}

#endif
