#include "ZQOSApi.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <tuple>
#include <unistd.h>

TEST(ZQSleepTest, SleepsAtLeastWhatIsPromised) {
    signal(SIGALRM, [](int) {});
    // Of 2 s after a signal, sleep(3) tells that 1 s is left.
    const std::tuple<int, int, useconds_t> cases[] = {{0, 0, 0}, {250, 250, 0}, {1250, 1245, 0}, {2000, 1000, 100000}};
    for (const auto& [asked, least, signalAfter] : cases) {
        const auto start = std::chrono::steady_clock::now();
        ualarm(signalAfter, 0);
        ZQSleep(asked);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(least)) << asked;
    }
    EXPECT_EQ(ZQThreadYield(), 0);
    EXPECT_EQ(ZQGetCPUProcessorNumber(), sysconf(_SC_NPROCESSORS_ONLN));
}
