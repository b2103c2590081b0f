// A memory pool driven by bytes, beside a model: what the caller holds, and that nobody else writes there. The first three
// bytes make the pool; then each operation takes two, what and how much.

#include "Fuzz.h"

#include <ZQMemoryPool.h>
#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
struct Block
{
    unsigned char* memory;
    size_t bytes;
    unsigned int slices;
    unsigned char mark;
};

class Model
{
public:
    Model(unsigned int sliceSize, unsigned int nextCount, bool ordered)
        : m_nSliceSize(sliceSize), m_pool(sliceSize, nextCount, 0, ordered), m_other(sliceSize, nextCount, 0, ordered)
    {
    }
    ~Model()
    {
        while (!m_vecBlocks.empty())
        {
            Free(0, false);
        }
        m_pool.ShrinkMemory(0);
        Require(m_pool.GetTotalCount() == 0 && m_pool.GetFreeCount() == 0, "a pool that is not in use gives all back");
    }
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    void Step(uint8_t what, uint8_t amount)
    {
        switch (what % 6)
        {
        case 0: Keep(m_pool.Malloc(1), 1); break;
        case 1: Keep(m_pool.Malloc(amount), amount); break;
        case 2:
            Keep(m_pool.MallocEx(amount * 4U), std::max(1U, (amount * 4U + m_nSliceSize - 1) / m_nSliceSize));
            break;
        case 3: Free(amount, false); break;
        case 4: Free(amount, true); break;
        default: Shrink(amount); break;
        }
        Require(m_pool.GetTotalCount() - m_pool.GetFreeCount() == m_nUsed, "what is not free is in use");
    }

private:
    void Keep(void* memory, unsigned int slices)
    {
        if (memory == nullptr)
        {
            Require(slices == 0, "memory");
            return;
        }
        Require(reinterpret_cast<uintptr_t>(memory) % 16 == 0, "an aligned block");
        const Block block = {static_cast<unsigned char*>(memory), size_t(slices) * m_nSliceSize, slices, ++m_nMark};
        std::memset(block.memory, block.mark, block.bytes);
        m_vecBlocks.push_back(block);
        m_nUsed += slices;
    }
    void Free(size_t which, bool any)
    {
        if (m_vecBlocks.empty())
        {
            return;
        }
        Block& block = m_vecBlocks[which % m_vecBlocks.size()];
        Require(std::all_of(block.memory, block.memory + block.bytes, [&](unsigned char c) { return c == block.mark; }),
                "what the caller has written");
        any ? m_other.FreeAny(block.memory) : m_pool.Free(block.memory);
        m_nUsed -= block.slices;
        block = m_vecBlocks.back();
        m_vecBlocks.pop_back();
    }
    void Shrink(unsigned int keep)
    {
        const unsigned int before = m_pool.GetFreeCount();
        m_pool.ShrinkMemory(keep);
        Require(m_pool.GetFreeCount() >= std::min(before, keep), "as many free slices as are to be kept");
    }

    const unsigned int m_nSliceSize;
    ZQMemoryPool m_pool, m_other;
    std::vector<Block> m_vecBlocks;
    unsigned int m_nUsed = 0;
    unsigned char m_nMark = 0;
};
}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size >= 3)
    {
        Model model(data[0] + 1U, data[1] % 40U, (data[2] & 1) != 0);
        for (size_t i = 3; i + 1 < size; i += 2)
        {
            model.Step(data[i], data[i + 1]);
        }
    }
    return 0;
}
