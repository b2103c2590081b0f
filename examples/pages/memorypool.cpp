// Many small objects from few large chunks, and the chunks back to the system after the peak.

#include <ZQMemoryPool.h>

#include <cstdio>
#include <new>
#include <vector>

namespace
{
struct Point
{
    int x;
    int y;
};
}  // namespace

int main()
{
    ZQMemoryPool pool(sizeof(Point), 256, 0, false);  // 256 to a chunk, no limit, single slices only
    std::vector<Point*> points;
    for (int i = 0; i < 1000; ++i)
    {
        void* memory = pool.Malloc(1);
        if (memory != nullptr)
        {
            points.push_back(new (memory) Point{i, i});
        }
    }
    std::printf("%zu points, %u slices\n", points.size(), pool.GetTotalCount());
    for (Point* point : points)
    {
        pool.Free(point);  // its destructor has nothing to do
    }
    pool.ShrinkMemory(256);
    std::printf("kept: %u slices\n", pool.GetTotalCount());
}

// prints:
// 1000 points, 1024 slices
// kept: 256 slices
