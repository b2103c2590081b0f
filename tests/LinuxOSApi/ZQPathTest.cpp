#include "ZQOSApi.h"

#include <gtest/gtest.h>

TEST(ZQPathTest, GetParentFolderCutsAtTheLastSeparator) {
    const struct {
        const char* path;
        const char* parent;
    } cases[] = {
        {"a/b/c", "a/b"}, {"a\\b", "a"}, {"a/b\\c", "a/b"}, {"a\\b/c", "a\\b"}, {"a/b/", "a/b"}, {"a//b", "a/"},
        {"a\\\\", "a\\"}, {"/a", ""},    {"/", ""},         {"//", "/"},        {"abc", ""},     {"", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(GetParentFolder(c.path), c.parent);
    }
}
