#include <ZQOSApi.h>
#include <ZQTime.h>

#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>

TEST(ZQClockTest, CountElapsedLosesOneAtTheWrap) {
    EXPECT_EQ(ZQDateTime::CountElapsed(10, 5), 5U);
    EXPECT_EQ(ZQDateTime::CountElapsed(5, 5), 0U);
    EXPECT_EQ(ZQDateTime::CountElapsed(5, 10), 4294967290U);
    EXPECT_EQ(ZQDateTime::CountElapsed(0, UINT_MAX), 0U);
}

TEST(ZQClockTest, ClocksTellTheirTime) {
    timespec monotonic, wall;
    clock_gettime(CLOCK_MONOTONIC, &monotonic);
    clock_gettime(CLOCK_REALTIME, &wall);
    const unsigned long tick = static_cast<unsigned long>(monotonic.tv_sec * 1000 + monotonic.tv_nsec / 1000000);
    EXPECT_LT(ZQDateTime::GetTickCount() - tick, 60000UL);
    EXPECT_LT(ZQDateTime::GetPerformanceCounter() - tick, 60000UL);
    EXPECT_LT(std::abs(ZQDateTime::GetEpochMilliseconds() - wall.tv_sec * 1000), 60000L);
}

TEST(ZQClockTest, MeterCountsFromItsStart) {
    const ZQTimeMeter fresh;
    ZQTimeMeter whole, future;
    whole.Reset(0);
    future.Reset(ZQDateTime::GetTickCount() + 3600000);
    ZQSleep(20);
    EXPECT_EQ(future.GetElapsed(), 0UL);  // and starts with this
    EXPECT_GE(fresh.GetElapsed(), 20UL);
    const unsigned long tick = ZQDateTime::GetTickCount();
    EXPECT_GE(whole.GetElapsed(), tick);
    ZQSleep(20);
    EXPECT_GE(future.GetElapsed(), 20UL);
}
