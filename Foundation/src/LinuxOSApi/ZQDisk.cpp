#include "ZQCheck.h"
#include "ZQMountTable.h"
#include "ZQOSResult.h"
#include "ZQProcFile.h"

#include <cstdlib>
#include <memory>
#include <sys/vfs.h>

namespace
{
constexpr char MountTable[] = "/proc/mounts";

struct Freed
{
    void operator()(void* memory) const
    {
        std::free(memory);
    }
};
}  // namespace

int ZQGetSpaceSize(const char* path, uint64_t* total, uint64_t* used, uint64_t* free)
{
    if (path == nullptr)
    {
        return ZQResultInvalid;
    }
    struct statfs space;
    if (statfs(path, &space) != 0)
    {
        return ZQResultOfError(errno, ZQResultFailed);
    }
    const uint64_t blockSize = static_cast<uint64_t>(space.f_bsize);
    const uint64_t totalBytes = space.f_blocks * blockSize;
    const uint64_t freeBytes = space.f_bfree * blockSize;
    *total = totalBytes;
    *free = freeBytes;
    *used = totalBytes - freeBytes;
    return ZQResultDone;
}

int ZQGetDiskList(ZQFetchDirCallBack cb, void* user)
{
    ZQProcFile table(MountTable);
    return table.IsOpen() ? ZQListMounts(table, cb, user) : ZQResultFailed;
}

int ZQFetchDiskInfo(ZQFetchDirCallBack cb, void* user)
{
    ZQProcFile table(MountTable);
    OSApiCheck.CrashUnless(table.IsOpen(), "0", 456);
    const std::unique_ptr<char, Freed> line(static_cast<char*>(std::calloc(1, ZQFetchMountsLine)));
    OSApiCheck.CrashUnless(line != nullptr, "0", 463);
    return ZQFetchMounts(table, line.get(), cb, user);
}
