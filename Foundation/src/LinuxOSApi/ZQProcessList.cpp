#include "ZQDirStream.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr char ProcessDir[] = "/proc";

/// What the walk over the processes looks for and where it puts them.
struct Search
{
    std::string strPath;  // with slashes
    long* pids;
    int nCapacity;
    int nFound;
};

/// Whether the program of a process is one that is looked for. A target that holds the whole path holds its file name too.
bool Matches(const Search& search, const ZQDirStream& processes, const char* id)
{
    char target[1024];
    const std::string strLink = std::string(id) + "/exe";
    const ssize_t length = readlinkat(dirfd(processes.get()), strLink.c_str(), target, sizeof(target) - 1);
    if (length == -1)
    {
        return false;  // of another user, of the kernel, gone, or no directory
    }
    target[length] = '\0';
    return strstr(target, search.strPath.c_str()) != nullptr;
}

bool IsNumber(const char* name)
{
    return name[strspn(name, "0123456789")] == '\0';
}

void Find(Search& search)
{
    const ZQDirStream processes = ZQOpenDirAt(AT_FDCWD, ProcessDir);
    if (processes == nullptr)
    {
        return;
    }
    while (const dirent* const entry = ZQNextEntry(processes))
    {
        if (!IsNumber(entry->d_name) || !Matches(search, processes, entry->d_name))
        {
            continue;
        }
        if (search.nFound == search.nCapacity)
        {
            puts("ZQGetAliveProcessList: The array of process id is not enough.");
            return;
        }
        search.pids[search.nFound++] = strtol(entry->d_name, nullptr, 10);
    }
}
}  // namespace

bool ZQGetAliveProcessList(const char* path, long* pids, int* count)
{
    if (path == nullptr)
    {
        puts("ZQGetAliveProcessList: The path is null.");
        return false;
    }
    if (pids == nullptr)
    {
        puts("ZQGetAliveProcessList: The array of process id is null.");
        return false;
    }
    if (*count < 1)
    {
        printf("ZQGetAliveProcessList: The number of process %d is invalid.\n", *count);
        return false;
    }
    return ZQUnlessNoMemory(false, [&] {
        Search search = {path, pids, *count, 0};
        std::replace(search.strPath.begin(), search.strPath.end(), '\\', '/');
        Find(search);
        *count = search.nFound;
        return true;
    });
}
