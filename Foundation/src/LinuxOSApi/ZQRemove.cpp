#include "ZQDirWalk.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"

#include <cstdio>
#include <unistd.h>

int ZQRemoveDir(const char* path)
{
    if (path == nullptr)
    {
        errno = EFAULT;  // what the system call would say
        return ZQResultFailed;
    }
    return rmdir(path) == 0 || errno == ENOENT ? ZQResultDone : ZQResultFailed;
}

int ZQRemove(const char* path)
{
    if (path == nullptr)
    {
        return ZQResultInvalid;
    }
    return remove(path) == 0 ? ZQResultDone : ZQResultOfError(errno, ZQResultFailed);
}

int ZQForcedRemoveDir(const char* path)
{
    // A path that was cut off may be that of another entry, which nobody asked to remove.
    const int result = ZQWalkDir(path, ZQCutPath::Stop, RemoveDirFileCallBack, nullptr);
    return result != ZQResultDone ? result : ZQRemoveDir(path);
}

bool RemoveDirFileCallBack(const _ZQStruFileInfo& info, void*)
{
    switch (info.nType)
    {
    case 1: return ZQRemove(info.pszPath) == ZQResultDone;
    case 2: return ZQForcedRemoveDir(info.pszPath) == ZQResultDone;
    default: return true;
    }
}
