#include "ZQOSApi.h"

#include "support/WorkDir.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

TEST(ZQProcessListTest, FindsTheProcessesOfAProgram) {
    const WorkDir dir;
    const std::string program = dir.Path("sleep"), folder = std::filesystem::path(dir.Path()).filename();
    std::filesystem::copy_file("/bin/sleep", program);
    const char* seconds[] = {"600"};
    long started[2], found[8] = {};
    for (long& pid : started) { pid = ZQOpenProcess(program.c_str(), true, 1, seconds); }
    int count = 0;
    while (count < 2) {  // until both are that program
        EXPECT_TRUE(ZQGetAliveProcessList(program.c_str(), found, &(count = 8)));
    }
    EXPECT_TRUE(std::is_permutation(started, started + 2, found, found + count));
    testing::internal::CaptureStdout();
    EXPECT_TRUE(ZQGetAliveProcessList((folder + "\\sleep").c_str(), found, &(count = 2)) && count == 2);
    EXPECT_TRUE(ZQGetAliveProcessList((program + "/").c_str(), found, &(count = 2)) && count == 0);
    EXPECT_TRUE(ZQGetAliveProcessList(program.c_str(), found, &(count = 1)) && count == 1);
    count = 0;
    EXPECT_FALSE(ZQGetAliveProcessList(nullptr, found, &count) || ZQGetAliveProcessList("", nullptr, &count) ||
                 ZQGetAliveProcessList("", found, &count));
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "ZQGetAliveProcessList: The array of process id is not enough.\nZQGetAliveProcessList: The path is null.\n"
        "ZQGetAliveProcessList: The array of process id is null.\n"
        "ZQGetAliveProcessList: The number of process 0 is invalid.\n");
    for (const long pid : started) { EXPECT_TRUE(ZQCloseProcess(pid, -1)); }
}
