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
        std::string path = (fs::temp_directory_path() / "zq-test-XXXXXX").string();
        fs::current_path(mkdtemp(path.data()));
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
        const auto path = std::filesystem::current_path();
        std::filesystem::current_path("/");
        std::filesystem::remove_all(path);
    }
    WorkDir(const WorkDir&) = delete;
    WorkDir& operator=(const WorkDir&) = delete;

    /// The paths of everything in it; links are not followed.
    static Texts Entries() {
        Texts entries;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(".")) {
            entries.insert(entry.path().string().substr(2));
        }
        return entries;
    }
};

#endif
