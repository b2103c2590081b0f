#include "Stress.h"

#include <cstring>

namespace
{
struct Object : ZQRefCountedObject
{
    explicit Object(std::atomic<long>& alive) : m_alive(alive)
    {
        ++m_alive;
    }
    ~Object() override
    {
        --m_alive;
    }

    std::atomic<long>& m_alive;
};

struct Block
{
    unsigned char* p;
    unsigned size;
};

/// Blocks of one thread's pool keep what was written into them.
long UsePool(Chance& chance, const Deadline& deadline)
{
    const bool ordered = chance.OneIn(2);  // without, runs of slices are not found again
    ZQMemoryPool pool(64, 32, 0, ordered);
    std::vector<Block> blocks;
    long made = 0;
    while (!deadline.Passed())
    {
        if (blocks.size() < 500 && !chance.OneIn(2))
        {
            const unsigned size = 1 + chance.Below(ordered ? 600 : 64);
            unsigned char* p = static_cast<unsigned char*>(pool.MallocEx(size));
            Demand(p != nullptr, "no memory");
            std::memset(p, static_cast<int>(size % 251), size);
            blocks.push_back(Block{p, size});
            ++made;
        }
        else if (!blocks.empty())
        {
            std::swap(blocks[chance.Below(static_cast<unsigned>(blocks.size()))], blocks.back());
            const Block block = blocks.back();
            for (unsigned i = 0; i < block.size; ++i)
            {
                Demand(block.p[i] == block.size % 251, "a block was overwritten");
            }
            ZQMemoryPool::FreeAny(block.p);
            blocks.pop_back();
        }
    }
    return made;
}
}  // namespace

void StressMemory(const StressOptions& options)
{
    const Deadline deadline(options.seconds);
    std::atomic<long> alive{0};
    std::atomic<long> blocks{0};
    std::atomic<long> references{0};
    Object* const shared = new Object(alive);
    InThreads(4, [&](int thread) {
        Chance chance(options.seed, thread);
        if (thread < 2)
        {
            blocks += UsePool(chance, deadline);
            return;
        }
        while (!deadline.Passed())
        {
            shared->Duplicate();
            Object* const own = new Object(alive);
            own->Duplicate();
            std::thread other([own] { own->Release(); });
            own->Release();
            other.join();
            shared->Release();
            ++references;
        }
    });
    Demand(alive == 1 && shared->ReferenceCount() == 1, "references were lost or left");
    shared->Release();
    Demand(alive == 0, "the last reference freed nothing");
    std::printf("memory: %ld blocks, %ld references\n", blocks.load(), references.load());
}
