#include "ZQOSApi.h"

#include "support/WorkDir.h"

#include <gtest/gtest.h>

TEST(ZQMakeDirTest, MakesAndReturnsByPath) {
    const std::string tooLong(256, 'n');
    const struct {
        const char* path;
        int single, recursive;
        const char* made;  // by the recursive function, or by both
    } cases[] = {
        {nullptr, -6, -6, ""},
        {"", -6, -6, ""},
        {"/", -6, -6, ""},
        {"\\", -6, -1, ""},
        {"//", 0, 0, ""},
        {"\\\\", 0, 0, "\\"},
        {"n\\//", 0, 0, "n"},
        {"file", 0, 0, ""},
        {"dirs/x\\y\\", 0, 0, "dirs/x\\y"},
        {"x/y/z", -1, 0, "x x/y x/y/z"},
        {"x//y\\z/", -1, 0, "x x/y x/y/z"},
        {"x/\\/y\\\\", -1, 0, "x x/y"},
        {"dirs/x/y", -1, 0, "dirs/x dirs/x/y"},
        {"file/x/y", -1, -1, ""},
        {tooLong.c_str(), -1, -1, ""},
    };
    for (const auto& c : cases) {
        for (const bool recursive : {false, true}) {
            SCOPED_TRACE(testing::PrintToString(c.path) + (recursive ? " recursive" : ""));
            const WorkDir dir;
            const Texts before = WorkDir::Entries();
            const int result = recursive ? ZQRecursiveMakeDir(c.path) : ZQMakeDir(c.path);
            EXPECT_EQ(result, recursive ? c.recursive : c.single);
            EXPECT_EQ(Joined(WorkDir::Entries(), before), result == 0 ? c.made : "");
        }
    }
}

TEST(ZQMakeDirTest, ModeIsAllThatTheUmaskLeaves) {
    const WorkDir dir;
    umask(05);
    EXPECT_EQ(ZQRecursiveMakeDir(dir.Path("x/y").c_str()), 0);
    struct stat status;
    ASSERT_EQ(stat("x/y", &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0772U);
}
