#include "ZQOSApi.h"

#include "support/Fatal.h"
#include "support/ProcText.h"

#include <LinuxOSApi/ZQMountTable.h>
#include <filesystem>
#include <gtest/gtest.h>

namespace {
/// The mount points that a walk told of, each in brackets, and after how many it is stopped.
struct Log {
    int nType;
    int nLimit = 1000;
    int nCalls = 0;
    std::string paths = {};

    static bool Add(const _ZQStruFileInfo& info, void* log) {
        Log& self = *static_cast<Log*>(log);
        self.paths += std::string("[") + info.pszPath + "]";
        EXPECT_EQ(info.nType, self.nType);
        return ++self.nCalls < self.nLimit;
    }
};

/// What one of the walks tells of @p table, up to @p nLimit calls.
std::string Told(const std::string& table, int nType, int nLimit) {
    ProcText file(table);
    Log log{nType, nLimit};
    char line[ZQFetchMountsLine];
    const int result = nType == 3 ? ZQListMounts(file, Log::Add, &log) : ZQFetchMounts(file, line, Log::Add, &log);
    EXPECT_EQ(result, log.nCalls == nLimit ? -5 : 0);
    EXPECT_LE(log.nCalls, nLimit);
    return log.paths;
}

/// @p text and @p c up to @p length characters.
std::string Padded(std::string text, char c, size_t length) { return text.append(length - text.size(), c); }
}  // namespace

TEST(ZQDiskTest, WalksTellTheirMounts) {
    const std::string longPath = Padded("/", 'p', 600), longName = Padded("", 'd', 1100);
    const struct {
        std::string table, listed, fetched;
    } cases[] = {
        {"d /a ext4 rw 0 0\nd /b fuse.sshfs\nd /c tmpfs\nd /\\040e nfs 0\n", "[/a][/b][/\\040e]", "[/a][/b][/\\040e]"},
        {"a /a autofs\na /l loop\na /x xfs\na /s sys\n", "[/l][/x][/s]", "[/a]"},
        {"r /1 rootfs\np /2 proc\ns /3 devpts\nr /4 rpc_pipefs\nb /5 binfmt_misc\nu /6 usbfs\n", "", ""},
        {"d /m ext4", "", "[/m]"},
        {"  d   /m  ext4  \r\n", "[/m]", "[/m]"},
        {"d \t/m\r ext4\t\n", "[/m]", "[/m]"},
        {"d\t/m\text4\n", "[/m]", ""},
        {"d /m \t\nd\n\n", "[/m][][]", ""},
        {"d none ext4\nd m:/ ext4\n", "[none][m:/]", ""},
        {longName + " " + longPath + " ext4 rw 0 0\n", "[" + longPath + "]", "[" + longPath + "]"},
        {Padded("d /m ext4 ", 'o', 2046) + "x y /z ext4\nd /n ext4\n", "[/m][/z][/n]", "[/m][/n]"},
        {Padded("", 'x', 9000) + "\nd /n ext4\n", "[][][][][][/n]", "[/n]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.table.substr(0, 80));
        EXPECT_EQ(Told(c.table, 3, 1000), c.listed);
        EXPECT_EQ(Told(c.table, 1, 1000), c.fetched);
        Told(c.table, 3, 1);
        Told(c.table, 1, 1);
    }
}

TEST(ZQDiskDeathTest, WalksReadTheTableOfTheSystem) {
    Log listed{3}, fetched{1};
    EXPECT_EQ(ZQGetDiskList(Log::Add, &listed), 0);
    EXPECT_EQ(ZQFetchDiskInfo(Log::Add, &fetched), 0);
    EXPECT_NE(listed.nCalls, 0);
    EXPECT_EQ((NoFiles(), ZQGetDiskList(Log::Add, &listed)), -1);
    ExpectCrash([] { (void)NoFiles(), ZQFetchDiskInfo(Log::Add, nullptr); },
                "(^|\n)_Abort: 0, Foundation/src/LinuxOSApi, 456\n");
}

TEST(ZQDiskTest, SpaceSizeReturnsByPath) {
    uint64_t total = 7, used = 7, free = 7;
    for (const auto& [path, result] : {std::pair("none", -3), {"/proc/self/stat/", -1}, {"", -3}, {nullptr, -6}}) {
        EXPECT_EQ(ZQGetSpaceSize(path, &total, &used, &free), result);
    }
    EXPECT_TRUE(total == 7 && used == 7 && free == 7);
    EXPECT_EQ(ZQGetSpaceSize("/", &total, &used, &free), 0);
    EXPECT_EQ(total, std::filesystem::space("/").capacity);
    EXPECT_EQ(used + free, total);
    EXPECT_LE(free, total);
}
