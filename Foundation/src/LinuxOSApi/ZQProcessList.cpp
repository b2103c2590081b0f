#include "ZQOSApi.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
bool Matches(const Search& search, const char* process)
{
    char target[1024];
    const std::string strLink = std::string(process) + "/exe";
    const ssize_t length = readlink(strLink.c_str(), target, sizeof(target) - 1);
    if (length == -1)
    {
        return false;  // of another user, of the kernel, or gone
    }
    target[length] = '\0';
    return strstr(target, search.strPath.c_str()) != nullptr;
}

bool Collect(const _ZQStruFileInfo& info, void* user)
{
    Search& search = *static_cast<Search*>(user);
    const char* name = info.pszPath + sizeof(ProcessDir);
    if (info.nType != 2 || name[strspn(name, "0123456789")] != '\0' || !Matches(search, info.pszPath))
    {
        return true;
    }
    if (search.nFound == search.nCapacity)
    {
        puts("ZQGetAliveProcessList: The array of process id is not enough.");
        return false;
    }
    search.pids[search.nFound++] = strtol(name, nullptr, 10);
    return true;
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
    Search search = {path, pids, *count, 0};
    std::replace(search.strPath.begin(), search.strPath.end(), '\\', '/');
    (void)ZQFetchDir(ProcessDir, Collect, &search);
    *count = search.nFound;
    return true;
}
