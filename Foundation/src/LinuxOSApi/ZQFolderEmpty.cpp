#include "ZQDirChain.h"
#include "ZQDirStream.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"

#include <fcntl.h>

namespace
{
constexpr int MaxLinks = 40;  // as many as the system follows in a path: links may lead round in a circle

bool HoldsOnlyDirs(ZQDirStream top, int links);

/// Goes into an entry that is a directory, or looks where it leads if it is a link.
/// @param links  how many of those may be followed
/// @return `false` if it is something else, or leads to something else
bool GoInto(ZQDirChain& chain, const dirent& entry, int links)
{
    const bool bUnknown = entry.d_type == DT_UNKNOWN;
    if ((bUnknown || entry.d_type == DT_DIR) && chain.Down(entry.d_name))
    {
        return true;
    }
    // What is above the directory that a link leads to is not what holds the link, so that begins a chain of its own.
    return (bUnknown || entry.d_type == DT_LNK) && links > 0 &&
           HoldsOnlyDirs(ZQOpenDirAt(chain.Descriptor(), entry.d_name), links - 1);
}

/// Whether a directory holds nothing but directories and links to such, at any depth.
/// @param top  may be null, which is no directory
bool HoldsOnlyDirs(ZQDirStream top, int links)
{
    if (top == nullptr)
    {
        return false;
    }
    ZQDirChain chain(std::move(top), ZQReadOn::WhereItStopped);
    for (;;)
    {
        const dirent* const entry = chain.Next();
        if (entry == nullptr && chain.IsAtTop())
        {
            return true;
        }
        if (entry != nullptr ? !GoInto(chain, *entry, links) : !chain.Up())
        {
            return false;
        }
    }
}
}  // namespace

bool ZQIsFolderEmpty(const char* path)
{
    return path == nullptr ||
           ZQUnlessNoMemory(false, [path] { return HoldsOnlyDirs(ZQOpenDirAt(AT_FDCWD, path), MaxLinks); });
}
