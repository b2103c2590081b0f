#include "Fatal.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {
/// An emulator cannot run itself anew, so there a death test forks; everywhere else it starts the program again.
void ChooseStyle() {
#if defined(__aarch64__)
    GTEST_FLAG_SET(death_test_style, "fast");
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
}
}  // namespace

void ExpectAbort(const std::function<void()>& action, const std::string& report) {
    ChooseStyle();
    EXPECT_EXIT(action(), testing::KilledBySignal(SIGABRT), report);
}

void ExpectCrash(const std::function<void()>& action, const std::string& report) {
    ChooseStyle();
    // Death tests look at standard error alone.
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), action()), testing::KilledBySignal(SIGSEGV), report);
}
