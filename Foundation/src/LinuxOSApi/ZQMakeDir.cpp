#include "ZQOSApi.h"

#include "ZQOSResult.h"
#include "ZQPath.h"

#include <sys/stat.h>
#include <vector>

namespace
{
constexpr mode_t DirMode = 0777;  // less the process's umask

bool Exists(int result)
{
    return result == ZQResultDone || result == ZQResultExists;
}

/// A path and the ones above it, up to but without the root.
std::vector<std::string> LevelsOf(const std::string& path)
{
    std::vector<std::string> levels(1, path);
    for (;;)
    {
        std::string parent = GetParentFolder(levels.back());
        ZQTrimSeparators(parent);
        if (parent.empty())
        {
            return levels;
        }
        levels.push_back(parent);
    }
}

/// The lowest level above the first that exists or could be made, else the highest.
size_t FirstLevelToMake(const std::vector<std::string>& levels)
{
    for (size_t level = 1; level < levels.size(); ++level)
    {
        if (ZQMakeDir(levels[level].c_str()) == ZQResultDone)
        {
            return level;
        }
    }
    return levels.size() - 1;
}

int MakeDir(const char* path)
{
    std::string name(path);
    ZQTrimSeparators(name);
    if (name.empty())
    {
        return ZQResultInvalid;
    }
    if (mkdir(name.c_str(), DirMode) == 0 || errno == EEXIST)
    {
        return ZQResultDone;
    }
    return ZQResultFailed;
}

int RecursiveMakeDir(const char* path)
{
    if (Exists(ZQMakeDir(path)))
    {
        return ZQResultDone;
    }
    const std::string normal = ZQNormalisePath(path);
    if (normal.empty())
    {
        return ZQResultInvalid;
    }
    const std::vector<std::string> levels = LevelsOf(normal);
    for (size_t level = FirstLevelToMake(levels) + 1; level-- > 0;)
    {
        if (ZQMakeDir(levels[level].c_str()) != ZQResultDone)
        {
            return ZQResultFailed;
        }
    }
    return ZQResultDone;
}
}  // namespace

int ZQMakeDir(const char* path)
{
    return path == nullptr ? ZQResultInvalid : ZQUnlessNoMemory<int>(ZQResultFailed, [path] { return MakeDir(path); });
}

int ZQRecursiveMakeDir(const char* path)
{
    return path == nullptr ? ZQResultInvalid
                           : ZQUnlessNoMemory<int>(ZQResultFailed, [path] { return RecursiveMakeDir(path); });
}
