// Tables of mounts, as both walks read them.

#include "Fuzz.h"

#include <LinuxOSApi/ZQMountTable.h>
#include <LinuxOSApi/ZQProcFile.h>
#include <cstring>

namespace
{
/// Goes on for as many mounts as @p left says.
bool Take(const _ZQStruFileInfo& info, void* left)
{
    Require(std::strlen(info.pszPath) < ZQListMountsLine, "a path out of a line");
    return --*static_cast<int*>(left) != 0;
}
}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FuzzFile file;
    const char* const path = file.Hold(data, size);
    for (const int limit : {1, 1000000})
    {
        ZQProcFile listed(path), fetched(path);
        char line[ZQFetchMountsLine];
        int left = limit;
        Require(ZQListMounts(listed, Take, &left) == (left == 0 ? -5 : 0), "the result of the list");
        left = limit;
        Require(ZQFetchMounts(fetched, line, Take, &left) == (left == 0 ? -5 : 0), "the result of the fetch");
    }
    return 0;
}
