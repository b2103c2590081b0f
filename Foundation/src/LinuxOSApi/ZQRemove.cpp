#include "ZQDirChain.h"
#include "ZQDirStream.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/// Removes a file, goes down into a directory, and lets anything else be.
/// @return whether to go on
bool RemoveEntry(ZQDirChain& chain, const dirent& entry)
{
    // What the directory tells of the entry saves a look at it. That follows only where what is told does not come true.
    switch (entry.d_type)
    {
    case DT_REG:
        if (unlinkat(chain.Descriptor(), entry.d_name, 0) == 0)
        {
            return true;
        }
        break;
    case DT_DIR:
        if (chain.Down(entry.d_name))
        {
            return true;
        }
        break;
    case DT_LNK:
    case DT_UNKNOWN: break;
    default: return true;
    }
    struct stat status;
    if (fstatat(chain.Descriptor(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
    {
        // Gone, or out of reach: passed over, but for a link, which the walk tells as a file then.
        return entry.d_type != DT_LNK || unlinkat(chain.Descriptor(), entry.d_name, 0) == 0;
    }
    if (S_ISDIR(status.st_mode))
    {
        return chain.Down(entry.d_name);
    }
    return !S_ISREG(status.st_mode) || unlinkat(chain.Descriptor(), entry.d_name, 0) == 0;
}

/// Goes back to the directory above and removes the one it came from. @return whether to go on
bool RemoveInnermost(ZQDirChain& chain)
{
    const std::string strName = chain.Name();
    return chain.Up() && (unlinkat(chain.Descriptor(), strName.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT);
}

/// Removes the files and directories in @p top, in the order of `readdir(3)`, up to the first that cannot be.
/// @return whether there was none such
bool RemoveContents(ZQDirStream top)
{
    ZQDirChain chain(std::move(top), ZQReadOn::FromItsStart);
    bool bGoOn = true;
    while (bGoOn)
    {
        const dirent* const entry = chain.Next();
        if (entry == nullptr && chain.IsAtTop())
        {
            return true;
        }
        bGoOn = entry != nullptr ? RemoveEntry(chain, *entry) : RemoveInnermost(chain);
    }
    return false;
}
}  // namespace

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
    if (path == nullptr || *path == '\0')
    {
        return ZQResultInvalid;
    }
    ZQDirStream top = ZQOpenDirAt(AT_FDCWD, path);
    if (top == nullptr)
    {
        return ZQResultOfError(errno, ZQResultOther);
    }
    return ZQUnlessNoMemory<int>(ZQResultOther,
                                 [&] { return RemoveContents(std::move(top)) ? ZQRemoveDir(path) : ZQResultStopped; });
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
