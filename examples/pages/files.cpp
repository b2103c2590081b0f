// Directories made with what is missing above them, walked, asked about and removed with all that is in them.

#include <ZQOSApi.h>

#include <cstdio>

namespace
{
bool Print(const _ZQStruFileInfo& info, void* user)
{
    std::printf("%s %s\n", info.nType == 2 ? "directory" : "other", info.pszPath);
    ++*static_cast<int*>(user);
    return true;  // false would stop the walk
}
}  // namespace

int main()
{
    if (0 != ZQRecursiveMakeDir("cache/thumbnails/small"))
    {
        return 1;
    }
    int entries = 0;
    const int result = ZQFetchDir("cache", Print, &entries);  // one level, in the order of the system
    std::printf("result %d, entries %d\n", result, entries);
    std::printf("no file in it: %s\n", ZQIsFolderEmpty("cache") ? "yes" : "no");
    std::printf("a folder: %d, a file: %d, missing: %d\n", ZQIsFolder("cache"), ZQIsFile("cache"), ZQIsFile("nowhere"));
    std::printf("parent: %s\n", GetParentFolder("cache/thumbnails").c_str());
    ZQForcedRemoveDir("cache");
    std::printf("removed: %s\n", ZQIsFileExist("cache") == -3 ? "yes" : "no");
}

// prints:
// directory cache/thumbnails
// result 0, entries 1
// no file in it: yes
// a folder: 0, a file: -1, missing: -3
// parent: cache
// removed: yes
