#include "TreeWalk.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr size_t LongestWalkedPath = 1022;
constexpr size_t LongestName = 255;

/// Whether ZQFetchDir() would not look at the entries of @p path itself: where their paths may be cut off, and where a
/// "\" at the end, here a part of the name, would be taken off as a separator.
bool NeedsDescriptor(const char* path)
{
    const size_t length = strlen(path);
    return length + 1 + LongestName > LongestWalkedPath || path[length - 1] == '\\';
}

/// ZQFetchDir() by way of an open directory, whatever its path looks like. `errno` tells about a failure.
int FetchByDescriptor(const char* path, ZQFetchDirCallBack cb, void* user)
{
    const int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd == -1)
    {
        return -1;
    }
    const int result = ZQFetchDir(("/proc/self/fd/" + std::to_string(fd)).c_str(), cb, user);
    const int error = errno;
    close(fd);
    errno = error;
    return result;
}
}  // namespace

TreeWalk::TreeWalk(HashJob& job) : m_job(job)
{
}

bool TreeWalk::Walk(const std::string& arg)
{
    struct stat status;
    if (stat(arg.c_str(), &status) != 0)
    {
        m_job.AddFailure(arg, errno);
        return true;
    }
    if (S_ISREG(status.st_mode))
    {
        return m_job.Add(arg, true);
    }
    if (!S_ISDIR(status.st_mode))
    {
        m_job.AddFailure(arg, ENOTDIR);
        return true;
    }
    m_listDirs.assign(1, arg.substr(0, arg.find_last_not_of('/') + 1));
    bool bGoesOn = true;
    while (bGoesOn && !m_listDirs.empty())
    {
        m_strDir = std::move(m_listDirs.back());
        m_listDirs.pop_back();
        bGoesOn = WalkDir(m_strDir.empty() ? "/" : m_strDir.c_str());
    }
    return bGoesOn;
}

/// Walks one directory, m_strDir. @return `false` if the job is to end
bool TreeWalk::WalkDir(const char* path)
{
    // Without the right to search it, the walk would see its names and pass over all of them.
    if (access(path, X_OK) != 0)
    {
        m_job.AddFailure(path, errno);
        return true;
    }
    const int result = NeedsDescriptor(path) ? FetchByDescriptor(path, OnEntry, this) : ZQFetchDir(path, OnEntry, this);
    if (result == -5)
    {
        return false;
    }
    if (result != 0)
    {
        m_job.AddFailure(path, errno);
    }
    return true;
}

bool TreeWalk::OnEntry(const _ZQStruFileInfo& info, void* walk)
{
    return static_cast<TreeWalk*>(walk)->AddEntry(info);
}

bool TreeWalk::AddEntry(const _ZQStruFileInfo& info)
{
    if (info.nType == 0)
    {
        return m_job.GoesOn();
    }
    // The name alone: the path in front of it may be that of a descriptor.
    std::string strPath = m_strDir;
    strPath += strrchr(info.pszPath, '/');
    if (info.nType == 1)
    {
        return m_job.Add(std::move(strPath), false);
    }
    m_listDirs.push_back(std::move(strPath));
    return m_job.GoesOn();
}
