#ifndef ZQTESTS_TEMPDIR_H
#define ZQTESTS_TEMPDIR_H

#include <string>

/// A directory of its own for a test; it goes with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    /// The path of @p name in it, or its own.
    std::string Path(const std::string& name = "") const;

private:
    std::string m_strPath;
};

#endif
