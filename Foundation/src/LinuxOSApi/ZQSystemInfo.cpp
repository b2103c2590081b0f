#include "ZQCachedText.h"
#include "ZQOSApi.h"
#include "ZQProcText.h"

#include <cstdio>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

namespace
{
constexpr size_t OSVersionSize = 1024;

bool ReadOSVersion(char (&text)[OSVersionSize])
{
    utsname system;
    if (uname(&system) < 0)
    {
        puts("ZQGetOSVersion() uname() fail! ");
        return false;
    }
    snprintf(text, sizeof(text), "%s %s %s", system.sysname, system.release, system.version);
    return true;
}
}  // namespace

int64_t ZQGetTotalPhysicalMemory()
{
    struct sysinfo system;
    if (sysinfo(&system) != 0)
    {
        puts("ZQGetTotalPhysicalMemory() sysinfo() fail! ");
        return -1;
    }
    return static_cast<int64_t>(system.totalram);
}

const char* ZQGetCPUVersion()
{
    static ZQCachedText<ZQCpuVersionSize> s_version;
    return s_version.Get([](char(&text)[ZQCpuVersionSize]) { return ZQReadCpuVersion("/proc/cpuinfo", text); });
}

const char* ZQGetOSVersion()
{
    static ZQCachedText<OSVersionSize> s_version;
    return s_version.Get(ReadOSVersion);
}
