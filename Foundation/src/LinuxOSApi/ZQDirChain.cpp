#include "ZQDirChain.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

ZQDirChain::ZQDirChain(ZQDirStream top, ZQReadOn readOn) : m_readOn(readOn)
{
    m_levels.push_back({std::move(top), {}, 0, 0, 0});
}

const dirent* ZQDirChain::Next()
{
    return ZQNextEntry(m_levels.back().stream);
}

int ZQDirChain::Descriptor() const
{
    return dirfd(m_levels.back().stream.get());
}

bool ZQDirChain::Down(const char* name)
{
    ZQDirStream stream = ZQOpenDirAt(Descriptor(), name, O_NOFOLLOW);
    if (stream == nullptr)
    {
        return false;
    }
    m_levels.push_back({std::move(stream), name, 0, 0, 0});
    if (m_levels.size() > MaxOpen)
    {
        Close(m_levels[m_levels.size() - 1 - MaxOpen]);
    }
    return true;
}

bool ZQDirChain::Up()
{
    Level& above = m_levels[m_levels.size() - 2];
    if (above.stream == nullptr && !Reopen(above))
    {
        return false;
    }
    m_levels.pop_back();
    return true;
}

void ZQDirChain::Close(Level& level)
{
    struct stat status;
    if (level.stream != nullptr && fstat(dirfd(level.stream.get()), &status) == 0)
    {
        level.nDevice = status.st_dev;
        level.nInode = status.st_ino;
        level.nPosition = telldir(level.stream.get());
        level.stream.reset();
    }
}

bool ZQDirChain::Reopen(Level& level) const
{
    ZQDirStream stream = ZQOpenDirAt(Descriptor(), "..");
    struct stat status;
    if (stream == nullptr || fstat(dirfd(stream.get()), &status) != 0)
    {
        return false;
    }
    if (status.st_dev != level.nDevice || status.st_ino != level.nInode)
    {
        errno = ENOENT;  // the directory was moved, and this one is none of the tree's
        return false;
    }
    if (m_readOn == ZQReadOn::WhereItStopped)
    {
        seekdir(stream.get(), level.nPosition);
    }
    level.stream = std::move(stream);
    return true;
}
