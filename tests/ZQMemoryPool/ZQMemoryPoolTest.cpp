#include "ZQMemoryPool.h"
#include "ZQRefCountedObject.h"

#include "support/Fatal.h"
#include "support/Threads.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <list>
#include <memory>
#include <random>

constexpr std::size_t Header = 16;

struct Chunk {
    char* base;
    unsigned slices;
    std::vector<char*> free;  // in the order of the chunk's list
};

/// A slow pool that searches all of its slices and tells where each block has to lie. A chunk's first block tells it where
/// the chunk lies.
struct Model {
    char* Malloc(unsigned n, char* actual) {
        const auto apart = [this](const char* slice, const char* next) { return next != slice + unit; };
        for (Chunk* chunk : listed) {
            for (auto run = chunk->free.begin(); chunk->free.end() - run >= n; ++run) {
                if (std::adjacent_find(run, run + n, apart) == run + n) {
                    char* const first = *run;
                    chunk->free.erase(run, run + n);
                    count -= n;
                    return first;
                }
            }
        }
        if (max != 0 && total >= max) {
            return nullptr;
        }
        EXPECT_NE(actual, nullptr);
        chunks.push_back({actual, std::max(n, nextCount), {}});
        total += chunks.back().slices;
        Free(actual, chunks.back().slices);
        return Malloc(n, actual);
    }
    void Free(char* p, unsigned n) {
        Chunk& chunk = *std::find_if(chunks.begin(), chunks.end(),
                                     [&](const Chunk& c) { return c.base <= p && p < c.base + c.slices * unit; });
        if (chunk.free.empty()) {
            listed.remove(&chunk);
            listed.push_front(&chunk);
        }
        auto place = chunk.free.begin();
        if ((n > 1 || ordered) && !chunk.free.empty() && *place < p) {
            place = std::find_if(place + 1, chunk.free.end(), [p](const char* slice) { return slice > p; });
        }
        for (unsigned i = n; i-- > 0;) { place = chunk.free.insert(place, p + i * unit); }
        count += n;
    }
    void Shrink(unsigned keep) {
        // The free slices beside blocks in use count first.
        for (const bool unused : {false, true}) {
            chunks.remove_if([&](Chunk& chunk) {
                const auto free = static_cast<unsigned>(chunk.free.size());
                const bool goes = unused && free == chunk.slices && keep == 0;
                if (goes) {
                    listed.remove(&chunk);
                    total -= free;
                    count -= free;
                }
                keep -= unused == (free == chunk.slices) ? std::min(keep, free) : 0;
                return goes;
            });
        }
    }

    const std::size_t unit;
    const unsigned nextCount, max;
    const bool ordered;
    unsigned total, count;     // slices, free slices
    std::list<Chunk> chunks;   // the oldest first
    std::list<Chunk*> listed;  // the last to get a free slice first; full ones do no harm
};

static char* ChunkOf(const void* block) {
    char* chunk;
    std::memcpy(&chunk, static_cast<const char*>(block) - Header, sizeof chunk);
    return chunk;
}

/// Sets the count of free slices of a block's chunk, which only a stray write of the program does.
static void ForgeFreeCount(const void* block, std::uint16_t count) {
    std::memcpy(ChunkOf(block) + 26, &count, sizeof count);
}

TEST(ZQMemoryPoolTest, BehavesAsTheSlowModel) {
    const std::tuple<unsigned, unsigned, unsigned, unsigned, bool, unsigned> cases[] = {{24, 48, 12, 0, false, 30},
                                                                                        {32, 48, 12, 0, true, 30},
                                                                                        {1, 32, 16, 90, false, 30},
                                                                                        {16, 32, 16, 64, true, 30},
                                                                                        {8, 32, 200, 0, false, 1}};
    for (const auto& [sliceSize, unit, next, max, ordered, most] : cases) {
        SCOPED_TRACE(testing::Message() << "ordered " << ordered << ", limit " << max);
        std::mt19937 random(20240607);
        ZQMemoryPool pool(sliceSize, next, max, ordered);
        Model model{unit, next, max, ordered, 0, 0, {}, {}};
        std::vector<std::pair<char*, std::vector<char>>> blocks;  // and what was written there
        for (unsigned step = 0; step < 10000 && !HasFailure(); ++step) {
            const unsigned wave = std::array{70U, 40U, 0U}[step / 500 % 3];  // the pool fills and empties by turns
            if (random() % 100 < wave) {
                const auto n =
                    static_cast<unsigned short>(1 + random() % 2 * (random() % (random() % 9 ? 5 : 30)) % most);
                char* const memory = static_cast<char*>(pool.Malloc(n));
                char* const slice = memory != nullptr ? memory - Header : nullptr;
                ASSERT_EQ(slice, model.Malloc(n, slice));
                if (memory != nullptr) {
                    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
                    blocks.emplace_back(memory, std::vector<char>(n * unit - Header, static_cast<char>(random())));
                    std::copy(blocks.back().second.begin(), blocks.back().second.end(), memory);
                }
            } else if (!blocks.empty()) {
                std::swap(blocks[random() % blocks.size()], blocks.back());
                const auto& [memory, bytes] = blocks.back();
                EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), memory));
                random() % 2 == 0 ? pool.Free(memory) : ZQMemoryPool::FreeAny(memory);
                model.Free(memory - Header, static_cast<unsigned>((bytes.size() + Header) / unit));
                blocks.pop_back();
            }
            if (random() % 50 == 0) {
                const auto keep = static_cast<unsigned>(random() % 2 * (random() % 80));
                pool.ShrinkMemory(keep);
                model.Shrink(keep);
            }
            EXPECT_EQ(pool.GetTotalCount(), model.total);
            EXPECT_EQ(pool.GetFreeCount(), model.count);
        }
    }
}

TEST(ZQMemoryPoolTest, CountsAsItIsTold) {
    using U = unsigned;
    const std::tuple<U, U, U, U, U, U, U, U> cases[] = {
        {24, 0, 0, 0, 1, 32, 32, 0},        {24, 0, 10, 24, 1, 32, 32, 10},
        {24, 32, 10, 25, 2, 32, 32, 32},    {0, 70000, 5, 0, 1, 65535, 70000, 70000},
        {0, 1, 0, 1, 0, 0, 1, 0},           {1, 1, 2, 65535, 65535, 65535, 1, 2},
        {1, 1, 0, 65536, 0, 0, 1, 0},       {1, 1, 0, UINT_MAX, 0, 0, 1, 0},
        {4294967265U, 1, 0, 1, 0, 0, 1, 0}, {4294967264U, 65535, 0, 1, 0, 0, 65535, 0},  // more than the heap has
    };
    for (const auto& [sliceSize, next, max, bytes, slices, total, nextNow, maxNow] : cases) {  // half given, half found
        SCOPED_TRACE(testing::Message() << bytes << " bytes in slices of " << sliceSize);
        ZQMemoryPool pool(sliceSize, next, max, false);
        EXPECT_EQ(pool.Malloc(0), nullptr);
        const char* const memory = static_cast<char*>(pool.MallocEx(bytes));
        EXPECT_EQ(memory != nullptr, slices != 0);
        EXPECT_TRUE(memory == nullptr || memory - ChunkOf(memory) < 64) << "slices start at byte 32 to 47";
        EXPECT_EQ(pool.GetTotalCount(), total);
        EXPECT_EQ(pool.GetTotalCount() - pool.GetFreeCount(), slices);
        EXPECT_EQ(pool.GetSliceSize(), sliceSize);
        EXPECT_EQ(pool.GetNextCount(), nextNow);
        pool.SetMaxCount(nextNow);
        EXPECT_EQ(pool.GetMaxCount(), maxNow) << "a value that is not above the next count is ignored";
        pool.SetMaxCount(nextNow + 1);
        EXPECT_EQ(pool.GetMaxCount(), nextNow + 1);
    }
}

TEST(ZQMemoryPoolDeathTest, BrokenCountsAreReported) {
    ZQMemoryPool pool(24, 2, 0, false);
    void* const block = pool.Malloc(1);
    void* const other = pool.Malloc(1);
    const auto loseSlice = [&] {
        pool.Free(other);
        pool.ShrinkMemory(1);  // lists the slice, which the pool had kept for the next block
        ForgeFreeCount(block, 2);
        pool.ShrinkMemory(0);  // takes two free slices off, where there was one
        pool.Malloc(2);
    };
    const auto freeTwice = [&] {
        // Counts that are zero, if it is taken for a chunk.
        std::memset(other, 0, 24);
        std::memset(block, 0, 24);
        pool.Free(other);
        pool.ShrinkMemory(1);
        pool.Free(block);
        pool.Free(block);
    };
    const char* const tooMany =
        "Foundation/src/ZQMemoryPool:334: void ZQMemoryPool::AddOrdered\\(void\\*, unsigned int, void\\*\\): "
        "Assertion `pCHK->nFrees<=pCHK->nPartition' failed";
    const char* const missing = "_Abort: prev, Foundation/src/ZQMemoryPool, 132\n";
    ZQMemoryPool another(24, 1, 0, false);
    ExpectAbort([&] { ForgeFreeCount(block, 2), pool.Free(block); }, tooMany);
    ExpectAbort(freeTwice, tooMany);
    ExpectCrash([&] { ForgeFreeCount(block, 2), pool.ShrinkMemory(0); }, missing);
    ExpectCrash([&] { pool.Free(another.Malloc(1)), another.ShrinkMemory(0); }, missing);
    ExpectCrash(loseSlice, "_Abort: m_nFree>=n, Foundation/src/ZQMemoryPool, 354\n");
}

TEST(ZQRefCountedObjectTest, LastReleaseOfAnyThreadDeletes) {
    struct Shared : ZQRefCountedObject {
        const std::shared_ptr<int> alive = std::make_shared<int>(0);
    };
    const Shared* object = new Shared;
    const std::weak_ptr<int> alive = object->alive;
    EXPECT_EQ(object->ReferenceCount(), 1);
    EXPECT_EQ(object->Duplicate(), 2);
    InThreads(2, [&](int) {
        for (int i = 0; i < 300000; ++i) {
            object->Duplicate();
            object->Release();
        }
        EXPECT_FALSE(alive.expired());
        object->Release();
    });
    EXPECT_TRUE(alive.expired());
}
