#include "ZQOSApi.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

TEST(ZQSleepTest, SleepsAtLeastWhatIsPromised) {
    signal(SIGALRM, [](int) {});
    // Of 2 s after a signal, sleep(3) tells that 1 s is left.
    const struct {
        int asked, least;
        useconds_t signalAfter;
    } cases[] = {{0, 0, 0}, {250, 250, 0}, {1250, 1245, 0}, {2000, 1000, 100000}};
    for (const auto& c : cases) {
        const auto start = std::chrono::steady_clock::now();
        ualarm(c.signalAfter, 0);
        ZQSleep(c.asked);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(c.least)) << c.asked;
    }
}

TEST(ZQSleepTest, AsksTheSystem) {
    EXPECT_EQ(ZQThreadYield(), 0);
    EXPECT_EQ(ZQGetCPUProcessorNumber(), sysconf(_SC_NPROCESSORS_ONLN));
}
