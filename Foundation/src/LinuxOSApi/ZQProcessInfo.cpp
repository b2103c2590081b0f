#include "ZQCachedText.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"
#include "ZQProcFile.h"
#include "ZQProcText.h"

#include <cstdio>
#include <unistd.h>

void ZQGetAppMemoryStatus(int64_t* residentKiB, int64_t* virtualKiB)
{
    *residentKiB = -1;
    *virtualKiB = -1;
    ZQProcFile file("/proc/self/statm");
    char text[512];
    if (file.IsOpen() && file.ReadRest(text, sizeof(text)) != 0)
    {
        ZQParseMemoryStatus(text, getpagesize(), residentKiB, virtualKiB);
    }
}

const char* ZQGetCurProcessName()
{
    static ZQCachedText<ZQProcessNameSize> s_name;
    return s_name.Get([](char(&name)[ZQProcessNameSize]) { return ZQReadProcessName("/proc/self/exe", name); });
}

int ZQGetCurProcessThreadNum()
{
    const ZQProcPath path("status");
    ZQProcFile file(path.szText);
    if (!file.IsOpen())
    {
        printf("ZQGetCurProcessThreadNum() fopen() %s fail! \n", path.szText);
        return ZQResultFailed;
    }
    return ZQUnlessNoMemory<int>(ZQResultFailed, [&file] { return ZQReadThreadNum(file); });
}

int ZQGetCurProcessDiskIOBytes(uint64_t* readBytes, uint64_t* writeBytes)
{
    const ZQProcPath path("io");
    ZQProcFile file(path.szText);
    if (!file.IsOpen())
    {
        printf("ZQGetCurProcessDiskIOBytes() fopen() %s fail! \n", path.szText);
        return ZQResultFailed;
    }
    return ZQUnlessNoMemory(ZQResultFailed, [&] {
        ZQReadDiskIOBytes(file, readBytes, writeBytes);
        return ZQResultDone;
    });
}
