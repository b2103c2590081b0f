#include "Stress.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

// The program's own definitions serve the library too. Not under a sanitizer, which needs its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
long Allocations()
{
    return -1;
}
#else
static std::atomic<long> s_nAllocations{0};

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);

extern "C" void* malloc(size_t size)
{
    s_nAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

extern "C" void* calloc(size_t count, size_t size)
{
    s_nAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

long Allocations()
{
    return s_nAllocations.load(std::memory_order_relaxed);
}
#endif

void Demand(bool holds, const char* text)
{
    if (!holds)
    {
        std::fprintf(stderr, "zq_stress: fault: %s\n", text);
        std::abort();
    }
}

long ResidentKb()
{
    long size = 0;
    long resident = 0;
    if (FILE* file = std::fopen("/proc/self/statm", "re"))
    {
        Demand(std::fscanf(file, "%ld %ld", &size, &resident) == 2, "/proc/self/statm cannot be read");
        std::fclose(file);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

int main(int argc, char** argv)
{
    static const struct
    {
        const char* name;
        StressPart run;
    } parts[] = {{"clocks", StressClocks},   {"forks", StressForks},  {"locks", StressLocks},
                 {"memory", StressMemory},   {"pools", StressPools},  {"tasks", StressTasks},
                 {"threads", StressThreads}, {"timers", StressTimers}};
    StressOptions options;
    StressPart run = nullptr;
    for (int i = 1; i < argc; ++i)
    {
        const bool hasValue = i + 1 < argc;
        if (hasValue && std::strcmp(argv[i], "--seed") == 0)
        {
            options.seed = std::strtoul(argv[++i], nullptr, 10);
        }
        else if (hasValue && std::strcmp(argv[i], "--seconds") == 0)
        {
            options.seconds = std::strtod(argv[++i], nullptr);
        }
        else if (hasValue && std::strcmp(argv[i], "--items") == 0)
        {
            options.items = std::strtol(argv[++i], nullptr, 10);
        }
        else if (std::strcmp(argv[i], "--step-clock") == 0)
        {
            options.stepClock = true;
        }
        else
        {
            for (const auto& part : parts)
            {
                run = std::strcmp(part.name, argv[i]) == 0 ? part.run : run;
            }
        }
    }
    if (run == nullptr)
    {
        std::fprintf(stderr,
                     "usage: zq_stress clocks|forks|locks|memory|pools|tasks|threads|timers [--seed N] [--seconds S] "
                     "[--items N] [--step-clock]\n");
        return 2;
    }
    run(options);
    return 0;
}
