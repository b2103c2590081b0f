#include "ZQOSApi.h"
#include "ZQOSResult.h"

#include <sys/stat.h>

namespace
{
/// What @p path leads to or, if it is a link that cannot be followed, the link itself.
/// @param dangling  receives whether it is one; may be null
/// @return `false` with `errno` if there is neither
bool ReadStatus(const char* path, struct stat& status, bool* dangling = nullptr)
{
    if (path == nullptr)
    {
        errno = EFAULT;  // what the system calls would say
        return false;
    }
    const bool followed = stat(path, &status) == 0;
    if (dangling != nullptr)
    {
        *dangling = !followed;
    }
    return followed || lstat(path, &status) == 0;
}
}  // namespace

int ZQIsFolder(const char* path)
{
    struct stat status;
    if (!ReadStatus(path, status))
    {
        return ZQResultOfError(errno, ZQResultOther);
    }
    return S_ISDIR(status.st_mode) ? ZQResultDone : ZQResultFailed;
}

int ZQIsFile(const char* path)
{
    struct stat status;
    bool dangling = false;
    if (!ReadStatus(path, status, &dangling))
    {
        return ZQResultOfError(errno, ZQResultOther);
    }
    return !dangling && S_ISREG(status.st_mode) ? ZQResultDone : ZQResultFailed;
}

int ZQIsFileExist(const char* path)
{
    if (path == nullptr)
    {
        return ZQResultInvalid;
    }
    struct stat status;
    return lstat(path, &status) == 0 ? ZQResultDone : ZQResultOfError(errno, ZQResultOther);
}

int ZQGetFileInfo(const char* path, time_t* mtime, int64_t* size)
{
    if (path == nullptr)
    {
        return ZQResultInvalid;
    }
    struct stat status;
    if (!ReadStatus(path, status))
    {
        return ZQResultOfError(errno, ZQResultFailed);
    }
    if (mtime != nullptr)
    {
        *mtime = status.st_mtime;
    }
    if (size != nullptr)
    {
        *size = status.st_size;
    }
    return ZQResultDone;
}

int64_t ZQGetFileSize(const char* path)
{
    int64_t size = 0;
    const int result = ZQGetFileInfo(path, nullptr, &size);
    return result == ZQResultDone ? size : result;
}

int64_t ZQGetLastModifiedTime(const char* path)
{
    time_t mtime = 0;
    const int result = ZQGetFileInfo(path, &mtime, nullptr);
    return result == ZQResultDone ? mtime : result;
}
