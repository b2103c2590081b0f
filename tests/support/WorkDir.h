#ifndef ZQTESTS_WORKDIR_H
#define ZQTESTS_WORKDIR_H

#include <filesystem>
#include <fstream>
#include <set>
#include <sys/stat.h>

using Texts = std::multiset<std::string>;

/// Those of @p texts that are not in @p others, parted by blanks.
inline std::string Joined(const Texts& texts, const Texts& others = {}) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += others.count(text) != 0 ? "" : (joined.empty() ? "" : " ") + text;
    }
    return joined;
}

/// A directory of its own, with entries of every kind, that is the working directory while it lives and goes with all in it.
class WorkDir {
public:
    WorkDir() {
        namespace fs = std::filesystem;
        fs::current_path(mkdtemp(m_strPath.data()));
        for (const char* dir : {"dirs/a/b", "dirs/c", "tree/a/b", "linked", "deep/linked"}) {
            fs::create_directories(dir);
        }
        for (const char* file : {"file", "tree/a/.file", "linked/file"}) { std::ofstream(file) << "12345"; }
        fs::create_symlink("dirs", "link");
        fs::create_symlink("../tree", "linked/link");
        fs::create_symlink("nowhere", "deep/linked/dangling");
        mkfifo("deep/fifo", 0666);
    }
    ~WorkDir() {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(m_strPath);
    }
    WorkDir(const WorkDir&) = delete;
    WorkDir& operator=(const WorkDir&) = delete;

    /// The absolute path of @p name in it, or its own.
    std::string Path(const std::string& name = "") const { return name.empty() ? m_strPath : m_strPath + "/" + name; }

    /// The paths of everything in it; links are not followed.
    static Texts Entries() {
        Texts entries;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(".")) {
            entries.insert(entry.path().string().substr(2));
        }
        return entries;
    }

private:
    std::string m_strPath = (std::filesystem::temp_directory_path() / "zq-test-XXXXXX").string();
};

#endif
