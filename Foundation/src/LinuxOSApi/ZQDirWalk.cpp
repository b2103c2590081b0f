#include "ZQDirStream.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"
#include "ZQPath.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{
/// The entries of one directory, "." and ".." left out, and their paths.
class DirReader
{
public:
    /// Opens @p dir, not null; IsOpen() tells whether that went well, else `errno` tells why.
    explicit DirReader(const char* dir);

    bool IsOpen() const
    {
        return m_stream != nullptr;
    }

    /// Goes to the next entry. @return `false` at the end
    bool Next();

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
    /// The type of the entry as the callbacks know it, or -1 for one that is to be passed over.
    int Type() const;

private:
    bool TakePrefix(const char* dir);

    static constexpr size_t PathLimit = 1022;

    ZQDirStream m_stream;
    const dirent* m_pEntry;
    size_t m_nPrefix;  // the directory and a separator
    bool m_bCut;
    bool m_bOtherDir;  // whether the paths do not lead into the directory that is open
    char m_szPath[PathLimit + 1];
};

DirReader::DirReader(const char* dir)
    : m_stream(ZQOpenDirAt(AT_FDCWD, dir)), m_pEntry(nullptr), m_nPrefix(0), m_bCut(false), m_bOtherDir(false)
{
    const bool bReady = IsOpen() && ZQUnlessNoMemory(false, [this, dir] { return TakePrefix(dir); });
    if (!bReady && IsOpen())
    {
        m_stream.reset();
        errno = ENOMEM;  // closing may have changed it
    }
}

bool DirReader::TakePrefix(const char* dir)
{
    std::string prefix(dir);
    ZQTrimSeparators(prefix);
    m_bOtherDir = strchr(dir + prefix.size(), '\\') != nullptr;
    prefix += '/';
    m_nPrefix = prefix.copy(m_szPath, PathLimit);
    return true;
}

bool DirReader::Next()
{
    m_pEntry = ZQNextEntry(m_stream);
    if (m_pEntry == nullptr)
    {
        return false;
    }
    const size_t length = strlen(m_pEntry->d_name);
    const size_t fits = std::min(length, PathLimit - m_nPrefix);
    memcpy(m_szPath + m_nPrefix, m_pEntry->d_name, fits);
    m_szPath[m_nPrefix + fits] = '\0';
    m_bCut = fits < length;
    return true;
}

int DirReader::Type() const
{
    // The entry itself, not what the directory tells of it: an entry that is gone is passed over. Looked up from the open
    // directory, which is faster than by its path where both are the same.
    const bool bByPath = m_bCut || m_bOtherDir;
    struct stat status;
    if (fstatat(bByPath ? AT_FDCWD : dirfd(m_stream.get()), bByPath ? m_szPath : m_pEntry->d_name, &status,
                AT_SYMLINK_NOFOLLOW) != 0)
    {
        return m_pEntry->d_type == DT_LNK ? 1 : -1;
    }
    if (S_ISDIR(status.st_mode))
    {
        return 2;
    }
    return S_ISREG(status.st_mode) ? 1 : 0;
}
}  // namespace

int ZQFetchDir(const char* dir, ZQFetchDirCallBack cb, void* user)
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
        const int nType = reader.Type();
        if (nType != -1 && !cb(_ZQStruFileInfo{reader.Path(), nType}, user))
        {
            return ZQResultStopped;
        }
    }
    return ZQResultDone;
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
