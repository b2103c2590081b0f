#include "ZQDirStream.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{
bool IsDots(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}
}  // namespace

void ZQDirCloser::operator()(DIR* dir) const
{
    const int error = errno;
    closedir(dir);
    errno = error;
}

ZQDirStream ZQOpenDirAt(int parent, const char* name, int flags)
{
    const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC | flags);
    if (fd == -1)
    {
        return nullptr;
    }
    ZQDirStream stream(fdopendir(fd));
    if (stream == nullptr)
    {
        const int error = errno;
        close(fd);
        errno = error;
    }
    return stream;
}

const dirent* ZQNextEntry(const ZQDirStream& stream)
{
    const dirent* entry;
    do
    {
        entry = readdir(stream.get());
    } while (entry != nullptr && IsDots(entry->d_name));
    return entry;
}
