#include "ZQCpuSample.h"
#include "ZQOSApi.h"
#include "ZQProcFile.h"
#include "ZQProcText.h"

#include <cstdio>
#include <mutex>

namespace
{
constexpr size_t LineLimit = 256;

bool ReadCpuTime(uint64_t& time)
{
    ZQProcFile file("/proc/stat");
    if (!file.IsOpen())
    {
        puts("ZQGetCurProcessCpuUsage() fopen() /proc/cpuinfo fail! ");  // the settled text: not the file's name
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
}  // namespace

int64_t ZQGetCurProcessCpuUsage()
{
    static const int s_processor_count = ZQGetCPUProcessorNumber();
    static std::mutex s_mutex;  // so that samples follow one another, and none is made of the times of two calls
    static ZQCpuSample s_last;
    std::lock_guard<std::mutex> lock(s_mutex);
    ZQCpuSample sample;
    if (!ReadCpuTime(sample.nCpuTime) || !ReadProcessTime(sample.nProcessTime))
    {
        return -1;
    }
    int64_t percent = -1;
    switch (ZQTakeCpuSample(s_last, sample, s_processor_count, percent))
    {
    case ZQCpuSampleResult::First: puts("ZQGetCurProcessCpuUsage() last cpu time or process time is 0! "); break;
    case ZQCpuSampleResult::NoTime: puts("ZQGetCurProcessCpuUsage() cpu time delta is 0! "); break;
    case ZQCpuSampleResult::Compared: break;
    }
    return percent;
}
