// The files of statistics: `stat`, `status`, `io`, `cpuinfo` and `statm`, all from the same text.

#include "Fuzz.h"

#include <LinuxOSApi/ZQCpuSample.h>
#include <LinuxOSApi/ZQProcFile.h>
#include <LinuxOSApi/ZQProcText.h>
#include <cstring>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FuzzFile file;
    const char* const path = file.Hold(data, size);
    const std::string text = TextOf(data, size);

    ZQCpuSample last = {ZQParseCpuTime(text.c_str()), ZQParseProcessTime(text.c_str())};
    int64_t percent = 0;
    ZQTakeCpuSample(last, {last.nProcessTime, last.nCpuTime}, static_cast<int>(size), percent);
    int64_t resident = -1, total = -1;
    Require(ZQParseMemoryStatus(text.c_str(), 4096, &resident, &total) || (resident == -1 && total == -1),
            "nothing written");

    ZQProcFile status(path), io(path);
    ZQReadThreadNum(status);
    uint64_t readBytes = 0, writeBytes = 0;
    ZQReadDiskIOBytes(io, &readBytes, &writeBytes);
    if (size < ZQCpuVersionSize)  // a model of more characters ends the process, as documented
    {
        char version[ZQCpuVersionSize];
        Require(ZQReadCpuVersion(path, version) && std::strlen(version) <= size, "a model out of the file");
    }
    return 0;
}
