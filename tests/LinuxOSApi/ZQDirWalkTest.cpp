#include "ZQOSApi.h"

#include "support/WorkDir.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {
namespace fs = std::filesystem;

/// What a walk told, and after how many entries it is stopped.
struct Log {
    size_t limit = 1000;
    Texts entries = {};

    static bool Add(const _ZQStruFileInfo& info, void* log) {
        Log& self = *static_cast<Log*>(log);
        self.entries.insert(info.pszPath + (":" + std::to_string(info.nType)));
        return self.entries.size() < self.limit;
    }
};

auto OpenDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()); }

/// Makes directories one in the other. @return the path of the innermost, @p length bytes long, a separator at its end
std::string MakeDeepDir(size_t length) {
    std::string path(length, 'd');
    for (size_t i = 200; i < length; i += 201) { path[i] = '/'; }
    fs::create_directories(path);
    return path + "/";
}
}  // namespace

TEST(ZQDirWalkTest, TellsAndReturnsByDirectory) {
    const WorkDir dir;
    fs::create_symlink(".", "loop");
    const char* const all = "./deep:2 ./dirs:2 ./file:1 ./link:0 ./linked:2 ./loop:0 ./tree:2";
    const struct {
        int (*walk)(const char*, ZQFetchDirCallBack, void*);
        const char* dir;
        int result, error;  // 0: not a system call's
        const char* entries;
    } cases[] = {
        {ZQFetchDir, ".", 0, 0, all},
        {ZQFetchDir, ".//", 0, 0, all},
        {ZQFetchDir, "deep", 0, 0, "deep/fifo:0 deep/linked:2"},
        {ZQFetchDir, "dirs/c", 0, 0, ""},
        {ZQFetchDir, nullptr, -6, 0, ""},
        {ZQFetchDir, "", -6, 0, ""},
        {ZQFetchDir, "dirs\\", -3, ENOENT, ""},
        {ZQFetchDir, "file", -7, ENOTDIR, ""},
        {ZQGetEmptyFolderList, ".//", 0, 0, "./dirs:0 ./link:0"},
        {ZQGetEmptyFolderList, nullptr, -6, 0, ""},
        {ZQGetEmptyFolderList, "", -3, ENOENT, ""},
        {ZQGetEmptyFolderList, "file", -7, ENOTDIR, ""},
    };
    const auto descriptors = OpenDescriptors();
    for (const auto& c : cases) {
        SCOPED_TRACE("case " + std::to_string(&c - cases) + ": " + testing::PrintToString(c.dir));
        Log log;
        EXPECT_EQ(c.walk(c.dir, Log::Add, &log), c.result);
        EXPECT_TRUE(c.error == 0 || errno == c.error) << errno;
        EXPECT_EQ(Joined(log.entries), c.entries);
        Log stopped{1};
        EXPECT_EQ(c.walk(c.dir, Log::Add, &stopped), log.entries.empty() ? c.result : -5);
        EXPECT_EQ(stopped.entries.size(), log.entries.empty() ? 0U : 1U);
    }
    EXPECT_TRUE(ZQIsFolderEmpty(nullptr));
    EXPECT_FALSE(ZQIsFolderEmpty("none"));
    EXPECT_EQ(OpenDescriptors(), descriptors);
    const ZQFetchDirCallBack oneSeparator = [](const _ZQStruFileInfo& info, void*) { return info.pszPath[1] != '/'; };
    EXPECT_EQ(ZQFetchDir("/", oneSeparator, nullptr), 0);
}

TEST(ZQDirWalkTest, CutPathIsNeitherEmptyNorRemoved) {
    const struct {
        const char* name;
        size_t length;  // of the path of the directory that the folders are in
        const char* folder;
        size_t emptyFolders;
    } cases[] = {
        {"fits", 1020, "e", 2},
        {"cut to an empty sibling", 1020, "se", 1},
        {"cut to its directory and a separator", 1021, "e", 0},
        {"cut to its directory", 1022, "e", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const WorkDir dir;
        const std::string deep = MakeDeepDir(c.length);
        const std::string top = deep.substr(0, deep.find('/'));
        fs::create_directory(deep + "s");
        fs::create_directory(deep + c.folder);
        const bool fits = c.emptyFolders == 2;
        EXPECT_EQ(ZQIsFolderEmpty(top.c_str()), fits);
        Log log;
        EXPECT_EQ(ZQGetEmptyFolderList(deep.c_str(), Log::Add, &log), 0);
        EXPECT_EQ(log.entries.size(), c.emptyFolders);
        EXPECT_EQ(ZQForcedRemoveDir(top.c_str()), fits ? 0 : -5);
        EXPECT_EQ(fs::exists(deep + c.folder), !fits);
    }
}

TEST(ZQDirWalkTest, FetchDirCutsPathsWithoutNotice) {
    const WorkDir dir;
    const std::string deep = MakeDeepDir(1020);
    for (const char* name : {"s", "se", "xe"}) { fs::create_directory(deep + name); }
    fs::create_symlink("s", deep + "yl");
    Log log;
    EXPECT_EQ(ZQFetchDir(deep.c_str(), Log::Add, &log), 0);
    EXPECT_EQ(log.entries, Texts({deep + "s:2", deep + "s:2", deep + "y:1"}));
}
