#include "ZQOSApi.h"

#include "support/WorkDir.h"

#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <tuple>

namespace fs = std::filesystem;

/// What happens when an entry has been read, before the library sees it.
static std::function<void(dirent&)> onEntry;

// The program's own definition serves the library too.
extern "C" dirent* readdir(DIR* dir) {
    static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
    dirent* const entry = next(dir);
    if (entry != nullptr && onEntry) {
        onEntry(*entry);
    }
    return entry;
}

static void TellNoType(dirent& entry) { entry.d_type = DT_UNKNOWN; }  // as some file systems do not

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

static auto OpenDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

/// Makes directories one in the other. @return the path of the innermost, @p length bytes long, a separator at its end
static std::string MakeDeepDir(size_t length) {
    std::string path(length, 'd');
    for (size_t i = 200; i < length; i += 201) { path[i] = '/'; }
    fs::create_directories(path);
    return path + "/";
}

/// Makes @p depth directories called "d" in @p path, one in the other, and "last" in the innermost.
static void MakeChain(const std::string& path, int depth) {
    const fs::path start = fs::current_path();
    for (const char* dir = path.c_str(); depth-- >= 0; dir = "d") {
        fs::create_directory(dir);
        fs::current_path(dir);
    }
    fs::create_directory("last");
    fs::current_path(start);
}

TEST(ZQFilesTest, TellsAndReturnsByDirectory) {
    const WorkDir dir;
    fs::create_symlink(".", "loop");
    const char* const all = "./deep:2 ./dirs:2 ./file:1 ./link:0 ./linked:2 ./loop:0 ./tree:2";
    const std::tuple<int (*)(const char*, ZQFetchDirCallBack, void*), const char*, int, int, const char*> cases[] = {
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
        {ZQGetEmptyFolderList, "file", -7, ENOTDIR, ""},
    };
    const auto descriptors = OpenDescriptors();
    for (const auto& [walk, path, result, error, entries] : cases) {  // error 0: not a system call's
        SCOPED_TRACE((walk == ZQFetchDir ? "all of " : "the empty of ") + testing::PrintToString(path));
        Log log;
        EXPECT_EQ(walk(path, Log::Add, &log), result);
        EXPECT_TRUE(error == 0 || errno == error) << errno;
        EXPECT_EQ(Joined(log.entries), entries);
        Log stopped{1};
        EXPECT_EQ(walk(path, Log::Add, &stopped), log.entries.empty() ? result : -5);
        EXPECT_EQ(stopped.entries.size(), log.entries.empty() ? 0U : 1U);
    }
    EXPECT_TRUE(ZQIsFolderEmpty(nullptr) && !ZQIsFolderEmpty("none"));
    EXPECT_EQ(OpenDescriptors(), descriptors);
    const ZQFetchDirCallBack oneSeparator = [](const _ZQStruFileInfo& info, void*) { return info.pszPath[1] != '/'; };
    EXPECT_EQ(ZQFetchDir("/", oneSeparator, nullptr), 0);
}

TEST(ZQFilesTest, LongPathsHitNoSibling) {
    const std::tuple<const char*, size_t, const char*, size_t> cases[] = {
        {"fits", 1020, "e", 2},
        {"cut to an empty sibling", 1020, "se", 1},
        {"cut to its directory and a separator", 1021, "e", 0},
        {"cut to its directory", 1022, "e", 0},
    };
    for (const auto& [name, length, folder, emptyFolders] : cases) {
        SCOPED_TRACE(name);
        const WorkDir dir;
        const std::string deep = MakeDeepDir(length), path = deep + folder;
        const std::string top = deep.substr(0, deep.find('/'));
        fs::create_directories(deep + "s/f");
        fs::create_directories(path + "/f");
        EXPECT_TRUE(ZQIsFolderEmpty(top.c_str()));
        Log log;
        EXPECT_EQ(ZQGetEmptyFolderList(deep.c_str(), Log::Add, &log), 0);
        EXPECT_EQ(log.entries.size(), emptyFolders);
        std::ofstream(path + "/f/file");
        EXPECT_FALSE(ZQIsFolderEmpty(path.c_str()) || ZQIsFolderEmpty(top.c_str()));
        EXPECT_EQ(ZQForcedRemoveDir(path.c_str()), 0);
        EXPECT_TRUE(!fs::exists(path) && fs::exists(deep + "s/f"));
        EXPECT_EQ(ZQForcedRemoveDir(top.c_str()), 0);
    }
}

TEST(ZQFilesTest, TreesMayBeDeepAndWideWithFewDescriptors) {
    const WorkDir dir;
    const Texts before = WorkDir::Entries();
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit few = {static_cast<rlim_t>(OpenDescriptors()) + 20, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    fs::create_directories("top/sub");
    for (int i = 0; i < 20; ++i) { MakeChain("top/" + std::to_string(i), i == 10 ? 2000 : 20); }
    fs::create_symlink("../dirs", "top/link");
    EXPECT_TRUE(ZQIsFolderEmpty("top"));
    for (int i = 0; i < 5000; ++i) { std::ofstream("top/sub/" + std::to_string(i)); }
    EXPECT_FALSE(ZQIsFolderEmpty("top"));
    EXPECT_EQ(ZQForcedRemoveDir("top"), -1);
    EXPECT_EQ(Joined(WorkDir::Entries(), before), "top top/link");
    setrlimit(RLIMIT_NOFILE, &limit);
}

TEST(ZQFilesTest, RemovalStaysInTheTreeWhateverMovesMeanwhile) {
    // A link takes the place of a directory that is about to be opened, or of one far above the open ones.
    for (const auto& [moved, trigger] : {std::pair("tree/a/b", "b"), std::pair("tree/d/d", "last")}) {
        SCOPED_TRACE(moved);
        const WorkDir dir;
        MakeChain("tree/d", 20);
        onEntry = [&, from = moved, when = trigger](const dirent& entry) {
            if (entry.d_name == std::string(when) && !fs::exists("moved")) {
                fs::rename(from, "moved");
                fs::create_symlink(dir.Path("linked"), from);
            }
        };
        EXPECT_EQ(ZQForcedRemoveDir("tree"), -5);
        onEntry = nullptr;
        EXPECT_TRUE(fs::exists("moved") && fs::exists("file") && fs::exists("linked/file"));
    }
}

TEST(ZQFilesTest, FetchDirCutsPathsWithoutNotice) {
    const WorkDir dir;
    const std::string deep = MakeDeepDir(1020);
    for (const char* name : {"s", "se", "xe"}) { fs::create_directory(deep + name); }
    fs::create_symlink("s", deep + "yl");
    Log log;
    EXPECT_EQ(ZQFetchDir(deep.c_str(), Log::Add, &log), 0);
    EXPECT_EQ(log.entries, Texts({deep + "s:2", deep + "s:2", deep + "y:1"}));
}

TEST(ZQFilesTest, GetParentFolderCutsAtTheLastSeparator) {
    const std::pair<const char*, const char*> cases[] = {
        {"a/b/c", "a/b"}, {"a\\b", "a"}, {"a/b\\c", "a/b"}, {"a\\b/c", "a\\b"}, {"a/b/", "a/b"}, {"a//b", "a/"},
        {"a\\\\", "a\\"}, {"/a", ""},    {"/", ""},         {"//", "/"},        {"abc", ""},     {"", ""},
    };
    for (const auto& [path, parent] : cases) { EXPECT_EQ(GetParentFolder(path), parent) << path; }
}

TEST(ZQFilesTest, InfoReturnsByPath) {
    constexpr time_t Time = 4000000000;
    constexpr int64_t Size = (int64_t(1) << 32) + 5;
    const std::string tooLong(256, 'n');
    const WorkDir dir;
    fs::resize_file("file", Size);
    fs::create_symlink("file", "to-file");
    fs::create_symlink("loop", "loop");
    const timespec times[2] = {{77, 0}, {Time, 999999999}};
    for (const char* path : {"file", "loop"}) { ASSERT_EQ(utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW), 0); }
    const std::tuple<const char*, int, int, int, int, int, int64_t> cases[] = {
        {"file", -1, 0, 0, 0, 0, Size},        {"to-file", -1, 0, 0, 0, 0, Size},
        {"loop", -1, -1, 0, 0, 0, 4},          {"deep/linked/dangling", -1, -1, 0, 0, 0, 0},
        {"link", 0, -1, 0, 0, 0, 0},           {"dirs/", 0, -1, 0, 0, 0, 0},
        {"deep/fifo", -1, -1, 0, 0, 0, 0},     {"none", -3, -3, -3, -3, ENOENT, 0},
        {"file/", -7, -7, -7, -1, ENOTDIR, 0}, {tooLong.c_str(), -7, -7, -7, -1, ENAMETOOLONG, 0},
        {nullptr, -7, -7, -6, -6, EFAULT, 0},
    };
    for (const auto& [path, folder, file, exists, info, error, wantedSize] : cases) {  // size 0: depends on the system
        SCOPED_TRACE(testing::PrintToString(path));
        EXPECT_EQ(ZQIsFileExist(path), exists);
        EXPECT_EQ(ZQIsFolder(path), folder);
        EXPECT_EQ(ZQIsFile(path), file);
        EXPECT_TRUE(error == 0 || errno == error) << errno;
        EXPECT_EQ(ZQGetFileInfo(path, nullptr, nullptr), info);
        time_t mtime = 77;
        int64_t size = 78;
        EXPECT_EQ(ZQGetFileInfo(path, &mtime, &size), info);
        if (error != 0 || wantedSize != 0) {
            EXPECT_EQ(mtime, error != 0 ? 77 : Time);
            EXPECT_EQ(size, error != 0 ? 78 : wantedSize);
            EXPECT_EQ(ZQGetFileSize(path), error != 0 ? info : wantedSize);
            EXPECT_EQ(ZQGetLastModifiedTime(path), error != 0 ? info : Time);
        }
    }
}

TEST(ZQFilesTest, MakesAndReturnsByPath) {
    const std::string tooLong(256, 'n');
    const std::tuple<const char*, int, int, const char*> cases[] = {
        {nullptr, -6, -6, ""},
        {"", -6, -6, ""},
        {"/", -6, -6, ""},
        {"\\", -6, -1, ""},
        {"//", 0, 0, ""},
        {"\\\\", 0, 0, "\\"},
        {"n\\//", 0, 0, "n"},
        {"dirs/x\\y\\", 0, 0, "dirs/x\\y"},
        {"x/y/z", -1, 0, "x x/y x/y/z"},
        {"x//y\\z/", -1, 0, "x x/y x/y/z"},
        {"x/\\/y\\\\", -1, 0, "x x/y"},
        {"file/x/y", -1, -1, ""},
        {tooLong.c_str(), -1, -1, ""},
    };
    for (const auto& [path, single, recursive, made] : cases) {
        for (const bool one : {true, false}) {
            SCOPED_TRACE(testing::PrintToString(path) + (one ? "" : " recursive"));
            const WorkDir dir;
            const Texts before = WorkDir::Entries();
            const int result = one ? ZQMakeDir(path) : ZQRecursiveMakeDir(path);
            EXPECT_EQ(result, one ? single : recursive);
            EXPECT_EQ(Joined(WorkDir::Entries(), before), result == 0 ? made : "");
        }
    }
}

TEST(ZQFilesTest, ModeIsAllThatTheUmaskLeaves) {
    const WorkDir dir;
    umask(05);
    EXPECT_EQ(ZQRecursiveMakeDir((fs::current_path() / "x/y").c_str()), 0);
    struct stat status;
    ASSERT_EQ(stat("x/y", &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0772U);
}

TEST(ZQFilesTest, RemovesAndReturnsByPath) {
    const std::tuple<int (*)(const char*), const char*, int, int, const char*> cases[] = {
        {ZQRemoveDir, nullptr, -1, EFAULT, ""},
        {ZQRemoveDir, "none", 0, 0, ""},
        {ZQRemoveDir, "dirs/c/", 0, 0, "dirs/c"},
        {ZQRemoveDir, "dirs", -1, ENOTEMPTY, ""},
        {ZQRemove, nullptr, -6, 0, ""},
        {ZQRemove, "none", -3, ENOENT, ""},
        {ZQRemove, "file", 0, 0, "file"},
        {ZQRemove, "link", 0, 0, "link"},
        {ZQRemove, "dirs", -1, ENOTEMPTY, ""},
        {ZQRemove, "dirs/.", -6, EINVAL, ""},
        {ZQForcedRemoveDir, nullptr, -6, 0, ""},
        {ZQForcedRemoveDir, "file", -7, ENOTDIR, ""},
        {ZQForcedRemoveDir, "tree//", 0, 0, "tree tree/a tree/a/.file tree/a/b"},
        {ZQForcedRemoveDir, "tree\\", -3, ENOENT, ""},
        {ZQForcedRemoveDir, "linked", -1, ENOTEMPTY, "linked/file"},
        {ZQForcedRemoveDir, "deep", -5, ENOTEMPTY, ""},
    };
    for (const auto& [remove, path, result, error, gone] : cases) {  // error 0: not a system call's
        for (const auto& type : {decltype(onEntry)(), decltype(onEntry)(TellNoType)}) {
            SCOPED_TRACE(testing::PrintToString(path) + ", to fail with " + std::to_string(result));
            const WorkDir dir;
            const Texts before = WorkDir::Entries();
            onEntry = type;
            EXPECT_EQ(remove(path), result);
            EXPECT_TRUE(error == 0 || errno == error) << errno;
            onEntry = nullptr;
            EXPECT_EQ(Joined(before, WorkDir::Entries()), gone);
        }
    }
    EXPECT_FALSE(RemoveDirFileCallBack({"none", 1}, nullptr));
    const WorkDir dir;
    EXPECT_TRUE(ZQFetchDir("tree", RemoveDirFileCallBack, nullptr) == 0 && fs::is_empty("tree"));
}
