#include "ZQOSApi.h"

#include "support/Threads.h"

constexpr long Rounds = 500000;

/// Runs `action(0)` and `action(1)` many times in two threads, which wait for each other now and then, lest one runs first.
template <class Action> static void Race(Action action) {
    constexpr long RoundsAtOnce = 5000;
    std::atomic<long> arrived{0};
    InThreads(2, [&](int thread) {
        for (long i = 0; i < Rounds; ++i) {
            if (i % RoundsAtOnce == 0) {
                ++arrived;
                Await([&] { return arrived >= 2 * (i / RoundsAtOnce + 1); });
            }
            action(thread);
        }
    });
}

TEST(ZQAtomicTest, ReturnsTheNewOrTheOldValue) {
    constexpr long Wide = 1L << 40;
    ZQAtomicCell cell = 77;
    ZQAtomicSet(&cell, Wide - 1);
    EXPECT_EQ(ZQAtomicInc(&cell), Wide);
    EXPECT_EQ(ZQAtomicDec(&cell), Wide - 1);
    EXPECT_EQ(ZQAtomicAnd(&cell, 1), Wide - 1);
    EXPECT_EQ(ZQAtomicOr(&cell, Wide | 4), 1);
    EXPECT_FALSE(ZQAtomicCompareExchange(&cell, 5, 9));
    EXPECT_EQ(ZQAtomicGet(&cell), Wide | 5);
    EXPECT_TRUE(ZQAtomicCompareExchange(&cell, Wide | 5, -1));
    EXPECT_EQ(ZQAtomicGet(&cell), -1);
    void* volatile pointer = nullptr;
    ZQAtomicPointerSet(&pointer, &cell);
    EXPECT_FALSE(ZQAtomicCompareExchangePointer(&pointer, nullptr, nullptr));
    EXPECT_EQ(pointer, &cell);
    EXPECT_TRUE(ZQAtomicCompareExchangePointer(&pointer, &cell, nullptr));
    EXPECT_EQ(pointer, nullptr);
}

TEST(ZQAtomicTest, TwoThreadsLoseNothing) {
    // Each operation alone, since one that locks the cell's cache line would hide that its neighbour does not.
    ZQAtomicCell cell = 0;
    long sums[2] = {}, faults[2] = {};
    Race([&](int thread) { sums[thread] += ZQAtomicInc(&cell); });
    EXPECT_EQ(cell, 2 * Rounds);
    EXPECT_EQ(sums[0] + sums[1], Rounds * (2 * Rounds + 1)) << "each value is returned once";
    Race([&](int) { ZQAtomicDec(&cell); });
    EXPECT_EQ(cell, 0);
    Race([&](int thread) {
        const long bit = 1L << thread;
        faults[thread] += (ZQAtomicOr(&cell, bit) & bit) + (~ZQAtomicAnd(&cell, ~bit) & bit);
    });
    EXPECT_EQ(faults[0] + faults[1], 0) << "no thread changes the bit of the other";
    EXPECT_EQ(cell, 0);
    Race([&](int) {
        long value = 0;
        do { value = ZQAtomicGet(&cell); } while (!ZQAtomicCompareExchange(&cell, value, value + 1));
    });
    EXPECT_EQ(cell, 2 * Rounds);
}
