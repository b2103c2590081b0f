#include "ZQProcText.h"

#include "ZQCheck.h"
#include "ZQOSApi.h"
#include "ZQProcFile.h"

#include <cstdio>
#include <cstring>
#include <sstream>
#include <unistd.h>

namespace
{
/// Takes the value of @p key from @p line, unless @p bytes is null or a line before had it.
void TakeFirst(const char* line, const char* key, uint64_t*& bytes)
{
    const char* const value = bytes != nullptr ? ZQProcValue(line, key) : nullptr;
    if (value != nullptr)
    {
        *bytes = ZQStrUtil::ToNumber<unsigned long long>(value);
        bytes = nullptr;
    }
}

/// A number of pages in KiB. Shifted as the signed number that the results are.
int64_t PagesToKiB(long long pages, int pageSize)
{
    return static_cast<int64_t>(static_cast<uint64_t>(pages) * static_cast<uint64_t>(pageSize)) >> 10;
}
}  // namespace

ZQProcPath::ZQProcPath(const char* name)
{
    snprintf(szText, sizeof(szText), "/proc/%d/%s", getpid(), name);
}

const char* ZQProcValue(const char* line, const char* key)
{
    const char* const colon = strrchr(line, ':');
    return colon != nullptr && strstr(line, key) != nullptr ? colon + 1 : nullptr;
}

const char* ZQFindProcValue(ZQProcFile& file, const char* key, char (&line)[ZQProcValueLine])
{
    const char* value = nullptr;
    while (value == nullptr && file.ReadLine(line))
    {
        value = ZQProcValue(line, key);
    }
    return value;
}

bool ZQParseMemoryStatus(const char* text, int pageSize, int64_t* residentKiB, int64_t* virtualKiB)
{
    long long total, resident, shared, code, libraries, data, dirty;
    if (sscanf(text, "%lld %lld %lld %lld %lld %lld %lld", &total, &resident, &shared, &code, &libraries, &data,
               &dirty) != 7)
    {
        return false;
    }
    *residentKiB = PagesToKiB(resident, pageSize);
    *virtualKiB = PagesToKiB(total, pageSize);
    return true;
}

int ZQReadThreadNum(ZQProcFile& status)
{
    char line[ZQProcValueLine];
    const char* const value = ZQFindProcValue(status, "Threads", line);
    int threads = 0;
    if (value != nullptr)
    {
        std::istringstream(value) >> threads;
    }
    return threads;
}

void ZQReadDiskIOBytes(ZQProcFile& io, uint64_t* readBytes, uint64_t* writeBytes)
{
    char line[ZQProcValueLine];
    while (io.ReadLine(line))
    {
        TakeFirst(line, "read_bytes", readBytes);
        TakeFirst(line, "write_bytes", writeBytes);  // not "cancelled_write_bytes", which the file has after it
    }
}

bool ZQReadCpuVersion(const char* path, char (&text)[ZQCpuVersionSize])
{
    ZQProcFile file(path);
    if (!file.IsOpen())
    {
        puts("ZQGetCPUVersion() fopen() /proc/cpuinfo fail! ");
        return false;
    }
    char line[ZQProcValueLine];
    const char* const value = ZQFindProcValue(file, "model name", line);
    const size_t length = value != nullptr ? strlen(value) : 0;
    if (length >= sizeof(text))
    {
        puts("GetCPUVersion() buf is not enough! ");
        OSApiCheck.CrashUnless(false, "0", 1249);
    }
    memcpy(text, value != nullptr ? value : "", length + 1);
    return true;
}

bool ZQReadProcessName(const char* link, char (&name)[ZQProcessNameSize])
{
    char path[ZQProcessNameSize + 2] = {};
    const ssize_t length = readlink(link, path, ZQProcessNameSize);
    if (length < 1)
    {
        puts("ZQGetCurProcessName() readlink /proc/self/exe fail! ");
        return false;
    }
    if (static_cast<size_t>(length) == ZQProcessNameSize)
    {
        puts("ZQGetCurProcessName buf is not enouugh. ");
        OSApiCheck.CrashUnless(false, "0", 1402);
    }
    const char* const separator = strrchr(path, '/');
    if (separator == nullptr)
    {
        puts("ZQGetCurProcessName() find delmiter fail! ");
        OSApiCheck.CrashUnless(false, "0", 1411);
    }
    memcpy(name, separator + 1, strlen(separator));  // its null character too
    return true;
}
