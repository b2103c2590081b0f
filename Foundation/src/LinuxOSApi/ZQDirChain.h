#ifndef ZQDIRCHAIN_H
#define ZQDIRCHAIN_H

#include "ZQDirStream.h"

#include <string>
#include <sys/types.h>
#include <vector>

/// How a directory that was closed for a while is read on.
enum class ZQReadOn
{
    FromItsStart,   ///< For those who remove what they have read: positions may not survive that.
    WhereItStopped  ///< For those who change nothing.
};

/// A directory and those below it on the way to one that is being read. Nothing is looked up by its path, and no symbolic link
/// is followed, so whoever moves directories or puts links into their places does not lead it out of the tree. The innermost
/// directories are open; those above are closed and opened again on the way back, so that the depth of a tree costs memory alone.
class ZQDirChain
{
public:
    /// @param top  open
    ZQDirChain(ZQDirStream top, ZQReadOn readOn);

    /// The next entry of the innermost directory, but for "." and ".."; null at the end. Valid until the next call but those
    /// of Descriptor() and a Down() that fails.
    const dirent* Next();

    /// Of the innermost directory.
    int Descriptor() const;

    bool IsAtTop() const
    {
        return m_levels.size() == 1;
    }
    /// What the innermost directory is called in the one above it; empty at the top.
    const std::string& Name() const
    {
        return m_levels.back().strName;
    }

    /// Goes into a directory of the innermost one. @return `false` with `errno` if it is none, or cannot be opened
    bool Down(const char* name);
    /// Goes back to the directory above. Not at the top.
    /// @return `false` with `errno` if that is not the one it came from
    bool Up();

private:
    struct Level
    {
        ZQDirStream stream;  // null while the directory is closed
        std::string strName;
        dev_t nDevice;  // this and the rest: while it is closed
        ino_t nInode;
        long nPosition;
    };
    static constexpr size_t MaxOpen =
        16;  // at least 2: the one above the innermost may not let itself be opened from there

    static void Close(Level& level);
    bool Reopen(Level& level) const;

    const ZQReadOn m_readOn;
    std::vector<Level> m_levels;
};

#endif
