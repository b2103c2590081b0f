// The mounts of the machine with their sizes. What is made up by the kernel has a size of 0 and is left out.

#include <ZQOSApi.h>

#include <cstdio>

namespace
{
bool Count(const _ZQStruFileInfo& mount, void* user)
{
    uint64_t total = 0, used = 0, free = 0;
    // A server that does not answer may hold up this call, though not the walk itself.
    if (0 == ZQGetSpaceSize(mount.pszPath, &total, &used, &free) && total != 0 && used + free == total)
    {
        ++*static_cast<int*>(user);
    }
    return true;
}
}  // namespace

int main()
{
    int disks = 0;
    const int result = ZQGetDiskList(Count, &disks);  // not ZQFetchDiskInfo(), which passes over xfs
    std::printf("result %d\n", result);

    uint64_t total = 0, used = 0, free = 0;
    if (0 == ZQGetSpaceSize("/", &total, &used, &free))
    {
        std::printf("the root adds up: %s\n", used + free == total ? "yes" : "no");
    }
}

// prints:
// result 0
// the root adds up: yes
