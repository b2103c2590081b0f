#include "ZQDirWalk.h"

#include "ZQOSResult.h"
#include "ZQPath.h"

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>

namespace
{
/// The entries of one directory, "." and ".." left out, and their paths.
class DirReader
{
public:
    /// Opens @p dir, not null; IsOpen() tells whether that went well, else `errno` tells why.
    explicit DirReader(const char* dir) : m_strDir(dir), m_pDir(opendir(dir)), m_pEntry(nullptr), m_bCut(false)
    {
        ZQTrimSeparators(m_strDir);
    }
    ~DirReader()
    {
        if (m_pDir != nullptr)
        {
            closedir(m_pDir);
        }
    }
    DirReader(const DirReader&) = delete;
    DirReader& operator=(const DirReader&) = delete;

    bool IsOpen() const
    {
        return m_pDir != nullptr;
    }

    /// Goes to the next entry. @return `false` at the end
    bool Next()
    {
        do
        {
            m_pEntry = readdir(m_pDir);
            if (m_pEntry == nullptr)
            {
                return false;
            }
        } while (strcmp(m_pEntry->d_name, ".") == 0 || strcmp(m_pEntry->d_name, "..") == 0);
        const int length = snprintf(m_szPath, PathLimit, "%s/%s", m_strDir.c_str(), m_pEntry->d_name);
        m_bCut = length >= PathLimit;
        return true;
    }

    /// The path of the entry; valid until the next one.
    const char* Path() const
    {
        return m_szPath;
    }
    /// Whether it did not fit.
    bool IsCut() const
    {
        return m_bCut;
    }
    bool IsLink() const
    {
        return m_pEntry->d_type == DT_LNK;
    }

private:
    static constexpr int PathLimit = 1023;

    std::string m_strDir;  // before the stream, so that no allocation comes between opendir and the reading of errno
    DIR* m_pDir;
    dirent* m_pEntry;
    bool m_bCut;
    char m_szPath[PathLimit + 1];
};

/// The type of an entry as the callbacks know it, or -1 for one that is to be passed over.
int TypeOf(const DirReader& reader)
{
    struct stat status;
    if (lstat(reader.Path(), &status) != 0)
    {
        return reader.IsLink() ? 1 : -1;
    }
    if (S_ISDIR(status.st_mode))
    {
        return 2;
    }
    return S_ISREG(status.st_mode) ? 1 : 0;
}
}  // namespace

int ZQWalkDir(const char* dir, ZQCutPath cutPath, ZQFetchDirCallBack cb, void* user)
{
    if (dir == nullptr || *dir == '\0')
    {
        return ZQResultInvalid;
    }
    DirReader reader(dir);
    if (!reader.IsOpen())
    {
        return ZQResultOfError(errno, ZQResultOther);
    }
    while (reader.Next())
    {
        if (reader.IsCut() && cutPath == ZQCutPath::Stop)
        {
            return ZQResultStopped;
        }
        const int nType = TypeOf(reader);
        if (nType != -1 && !cb(_ZQStruFileInfo{reader.Path(), nType}, user))
        {
            return ZQResultStopped;
        }
    }
    return ZQResultDone;
}

int ZQFetchDir(const char* dir, ZQFetchDirCallBack cb, void* user)
{
    return ZQWalkDir(dir, ZQCutPath::Deliver, cb, user);
}

int ZQGetEmptyFolderList(const char* dir, ZQFetchDirCallBack cb, void* user)
{
    if (dir == nullptr)
    {
        return ZQResultInvalid;
    }
    DirReader reader(dir);
    if (!reader.IsOpen())
    {
        return ZQResultOfError(errno, ZQResultOther);
    }
    while (reader.Next())
    {
        if (!reader.IsCut() && ZQIsFolderEmpty(reader.Path()) && !cb(_ZQStruFileInfo{reader.Path(), 0}, user))
        {
            return ZQResultStopped;
        }
    }
    return ZQResultDone;
}

bool ZQIsFolderEmpty(const char* path)
{
    if (path == nullptr)
    {
        return true;
    }
    DirReader reader(path);
    if (!reader.IsOpen())
    {
        return false;
    }
    while (reader.Next())
    {
        // A path that was cut off may be that of a directory above, and would be gone into for ever.
        if (reader.IsCut() || !ZQIsFolderEmpty(reader.Path()))
        {
            return false;
        }
    }
    return true;
}
