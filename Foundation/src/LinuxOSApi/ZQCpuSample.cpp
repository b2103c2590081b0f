#include "ZQCpuSample.h"

#include <cstdio>

namespace
{
/// `processors * processTime * 100 / cpuTime`, signed, with a product that wraps. The times are differences, which a clock that
/// went back makes negative.
int64_t Percent(int processors, uint64_t processTime, uint64_t cpuTime)
{
    const uint64_t product = static_cast<uint64_t>(processors) * processTime * 100;
    const int64_t divisor = static_cast<int64_t>(cpuTime);
    if (divisor == -1)
    {
        return static_cast<int64_t>(0 - product);  // the one division that may overflow
    }
    return static_cast<int64_t>(product) / divisor;
}
}  // namespace

uint64_t ZQParseCpuTime(const char* line)
{
    unsigned long long user = 0, nice = 0, system = 0, idle = 0;
    sscanf(line, "%*s %llu %llu %llu %llu", &user, &nice, &system, &idle);
    return user + nice + system + idle;
}

uint64_t ZQParseProcessTime(const char* line)
{
    // pid, name, state, five numbers of its family and terminal, flags, four counts of faults
    unsigned long user = 0, system = 0;
    sscanf(line, "%*d %*s %*c %*d%*d %*d %*d %*d %*u %*u %*u %*u %*u%lu %lu", &user, &system);
    return user + system;
}

ZQCpuSampleResult ZQTakeCpuSample(ZQCpuSample& last, const ZQCpuSample& sample, int processors, int64_t& percent)
{
    if (last.nCpuTime == 0 || last.nProcessTime == 0)
    {
        last = sample;
        return ZQCpuSampleResult::First;
    }
    const ZQCpuSample delta = {sample.nCpuTime - last.nCpuTime, sample.nProcessTime - last.nProcessTime};
    if (delta.nCpuTime == 0)
    {
        return ZQCpuSampleResult::NoTime;
    }
    last = sample;
    percent = Percent(processors, delta.nProcessTime, delta.nCpuTime);
    return ZQCpuSampleResult::Compared;
}
