#include "ZQOSApi.h"

#include "support/WorkDir.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>

TEST(ZQFileInfoTest, ReturnsByPath) {
    constexpr time_t Time = 4000000000;
    constexpr int64_t Size = (int64_t(1) << 32) + 5;
    const std::string tooLong(256, 'n');
    const WorkDir dir;
    std::filesystem::resize_file("file", Size);
    std::filesystem::create_symlink("file", "to-file");
    std::filesystem::create_symlink("loop", "loop");
    const timespec times[2] = {{77, 0}, {Time, 999999999}};
    for (const char* path : {"file", "loop"}) { ASSERT_EQ(utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW), 0); }
    const struct {
        const char* path;
        int folder, file, exists, info, error;
        int64_t size;  // 0: depends on the system
    } cases[] = {
        {"file", -1, 0, 0, 0, 0, Size},
        {"to-file", -1, 0, 0, 0, 0, Size},
        {"loop", -1, -1, 0, 0, 0, 4},
        {"deep/linked/dangling", -1, -1, 0, 0, 0, 0},
        {"link", 0, -1, 0, 0, 0, 0},
        {"dirs/", 0, -1, 0, 0, 0, 0},
        {"deep/fifo", -1, -1, 0, 0, 0, 0},
        {"none", -3, -3, -3, -3, ENOENT, 0},
        {"", -3, -3, -3, -3, ENOENT, 0},
        {"file/", -7, -7, -7, -1, ENOTDIR, 0},
        {tooLong.c_str(), -7, -7, -7, -1, ENAMETOOLONG, 0},
        {nullptr, -7, -7, -6, -6, EFAULT, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.path));
        EXPECT_EQ(ZQIsFileExist(c.path), c.exists);
        EXPECT_EQ(ZQIsFolder(c.path), c.folder);
        EXPECT_EQ(ZQIsFile(c.path), c.file);
        EXPECT_TRUE(c.error == 0 || errno == c.error) << errno;
        EXPECT_EQ(ZQGetFileInfo(c.path, nullptr, nullptr), c.info);
        time_t mtime = 77;
        int64_t size = 78;
        EXPECT_EQ(ZQGetFileInfo(c.path, &mtime, &size), c.info);
        if (c.error != 0 || c.size != 0) {
            EXPECT_EQ(mtime, c.error != 0 ? 77 : Time);
            EXPECT_EQ(size, c.error != 0 ? 78 : c.size);
            EXPECT_EQ(ZQGetFileSize(c.path), c.error != 0 ? c.info : c.size);
            EXPECT_EQ(ZQGetLastModifiedTime(c.path), c.error != 0 ? c.info : Time);
        }
    }
}
