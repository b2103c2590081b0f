#include "ZQCpuSample.h"
#include "ZQFork.h"
#include "ZQOSApi.h"
#include "ZQProcFile.h"
#include "ZQProcText.h"

#include <cstdio>
#include <mutex>
#include <new>

namespace
{
constexpr size_t LineLimit = 256;

bool ReadCpuTime(uint64_t& time)
{
    ZQProcFile file("/proc/stat");
    if (!file.IsOpen())
    {
        puts(
            "ZQGetCurProcessCpuUsage() fopen() /proc/cpuinfo fail! ");  // another file's name, as those who read the line know it
        return false;
    }
    char line[LineLimit];
    if (!file.ReadLine(line))
    {
        puts("ZQGetCurProcessCpuUsage() fgets() /proc/cpuinfo fail! ");
        return false;
    }
    time = ZQParseCpuTime(line);
    return true;
}

bool ReadProcessTime(uint64_t& time)
{
    const ZQProcPath path("stat");
    ZQProcFile file(path.szText);
    if (!file.IsOpen())
    {
        printf("ZQGetCurProcessCpuUsage() fopen() %s fail! \n", path.szText);
        return false;
    }
    char line[LineLimit];
    if (!file.ReadLine(line))
    {
        printf("ZQGetCurProcessCpuUsage() fgets() %s fail! \n", path.szText);
        return false;
    }
    time = ZQParseProcessTime(line);
    return true;
}

/// Compares @p sample with the one before it, of which there is one in the process.
ZQCpuSampleResult TakeSample(const ZQCpuSample& sample, int64_t& percent)
{
    static const int s_processor_count = ZQGetCPUProcessorNumber();
    static std::mutex s_mutex;  // so that none is made of the times of two calls; nobody reads or prints under it
    static int s_nFork = 0;
    static ZQCpuSample s_last;
    ZQFork::StartOver(s_nFork, [] { new (&s_mutex) std::mutex; });
    std::lock_guard<std::mutex> lock(s_mutex);
    return ZQTakeCpuSample(s_last, sample, s_processor_count, percent);
}
}  // namespace

int64_t ZQGetCurProcessCpuUsage()
{
    ZQCpuSample sample;
    if (!ReadCpuTime(sample.nCpuTime) || !ReadProcessTime(sample.nProcessTime))
    {
        return -1;
    }
    int64_t percent = -1;
    switch (TakeSample(sample, percent))
    {
    case ZQCpuSampleResult::First: puts("ZQGetCurProcessCpuUsage() last cpu time or process time is 0! "); break;
    case ZQCpuSampleResult::NoTime: puts("ZQGetCurProcessCpuUsage() cpu time delta is 0! "); break;
    case ZQCpuSampleResult::Compared: break;
    }
    return percent;
}
