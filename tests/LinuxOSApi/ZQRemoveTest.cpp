#include "ZQOSApi.h"

#include "support/WorkDir.h"

#include <cerrno>
#include <gtest/gtest.h>

TEST(ZQRemoveTest, RemovesAndReturnsByPath) {
    const struct {
        int (*remove)(const char*);
        const char* path;
        int result, error;  // 0: not a system call's
        const char* gone;
    } cases[] = {
        {ZQRemoveDir, nullptr, -1, EFAULT, ""},
        {ZQRemoveDir, "none", 0, 0, ""},
        {ZQRemoveDir, "dirs/c/", 0, 0, "dirs/c"},
        {ZQRemoveDir, "dirs", -1, ENOTEMPTY, ""},
        {ZQRemove, nullptr, -6, 0, ""},
        {ZQRemove, "none", -3, ENOENT, ""},
        {ZQRemove, "file", 0, 0, "file"},
        {ZQRemove, "link", 0, 0, "link"},
        {ZQRemove, "dirs/c", 0, 0, "dirs/c"},
        {ZQRemove, "dirs", -1, ENOTEMPTY, ""},
        {ZQRemove, "dirs/.", -6, EINVAL, ""},
        {ZQForcedRemoveDir, nullptr, -6, 0, ""},
        {ZQForcedRemoveDir, "", -6, 0, ""},
        {ZQForcedRemoveDir, "none", -3, ENOENT, ""},
        {ZQForcedRemoveDir, "file", -7, ENOTDIR, ""},
        {ZQForcedRemoveDir, "tree//", 0, 0, "tree tree/a tree/a/.file tree/a/b"},
        {ZQForcedRemoveDir, "tree\\", -3, ENOENT, ""},
        {ZQForcedRemoveDir, "linked", -1, ENOTEMPTY, "linked/file"},
        {ZQForcedRemoveDir, "deep", -5, ENOTEMPTY, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("case " + std::to_string(&c - cases) + ": " + testing::PrintToString(c.path));
        const WorkDir dir;
        const Texts before = WorkDir::Entries();
        EXPECT_EQ(c.remove(c.path), c.result);
        EXPECT_TRUE(c.error == 0 || errno == c.error) << errno;
        EXPECT_EQ(Joined(before, WorkDir::Entries()), c.gone);
    }
    EXPECT_FALSE(RemoveDirFileCallBack({"none", 1}, nullptr));
}
