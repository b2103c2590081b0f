#ifndef ZQDIRSTREAM_H
#define ZQDIRSTREAM_H

#include <dirent.h>
#include <memory>

struct ZQDirCloser
{
    /// Leaves `errno` alone.
    void operator()(DIR* dir) const;
};

/// An open directory, or null. A program that is started meanwhile does not inherit it.
using ZQDirStream = std::unique_ptr<DIR, ZQDirCloser>;

/// Opens a directory.
/// @param parent  what @p name starts from, as for `openat(2)`
/// @param flags   added to those of `opendir(3)`: `O_NOFOLLOW`
/// @return null with `errno` if it cannot be opened
ZQDirStream ZQOpenDirAt(int parent, const char* name, int flags = 0);

/// The next entry that is neither "." nor ".."; null at the end.
const dirent* ZQNextEntry(const ZQDirStream& stream);

#endif
