#include "ZQOSApi.h"

#include "support/Fatal.h"
#include "support/ProcText.h"
#include "support/Threads.h"

#include <LinuxOSApi/ZQProcText.h>
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {
std::string CpuVersionOf(const std::string& cpuinfo) {
    char text[ZQCpuVersionSize] = "before";
    EXPECT_TRUE(ZQReadCpuVersion(ProcText(cpuinfo).Path("text").c_str(), text));
    return text;
}
}  // namespace

TEST(ZQSystemInfoDeathTest, CpuVersionIsTheRestOfItsLine) {
    const std::string longest(1023, 'm');
    const struct {
        std::string cpuinfo, version;
    } cases[] = {
        {"model\t\t: 1\nmodel name\t: A (R) 1\nmodel name\t: B\n", " A (R) 1\n"},
        {"model name without a colon\nthe model name: a: b", " b"},
        {"processor\t: 0\nFeatures\t: fp\n", ""},
        {"model name:" + longest, longest},
        {std::string(3000, 'x') + "\nmodel name: A\n", " A\n"},
    };
    for (const auto& c : cases) { EXPECT_EQ(CpuVersionOf(c.cpuinfo), c.version); }
    ExpectCrash([] { CpuVersionOf("model name:" + std::string(1024, 'm')); },
                "(^|\n)GetCPUVersion\\(\\) buf is not enough! \n_Abort: 0, Foundation/src/LinuxOSApi, 1249\n");
}

TEST(ZQSystemInfoTest, CpuVersionIsTriedAgainAndThenKept) {
    std::ifstream file("/proc/cpuinfo");
    const std::string cpuinfo{std::istreambuf_iterator<char>(file), {}};
    testing::internal::CaptureStdout();
    EXPECT_STREQ((NoFiles(), ZQGetCPUVersion()), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ZQGetCPUVersion() fopen() /proc/cpuinfo fail! \n");
    const std::string version = ZQGetCPUVersion();
    EXPECT_EQ(version.empty(), cpuinfo.find("model name") == std::string::npos);
    EXPECT_NE(cpuinfo.find(version), std::string::npos);
    EXPECT_TRUE(version.empty() || (NoFiles(), ZQGetCPUVersion()) == version);
}

TEST(ZQSystemInfoTest, ThreadsSeeOneWholeText) {
    utsname system;
    ASSERT_EQ(uname(&system), 0);
    const std::string expected = std::string(system.sysname) + " " + system.release + " " + system.version;
    const char* texts[4];
    InThreads(4, [&](int i) { EXPECT_EQ(texts[i] = ZQGetOSVersion(), expected); });
    EXPECT_TRUE(texts[1] == texts[0] && texts[2] == texts[0] && texts[3] == texts[0]);
    EXPECT_EQ(ZQGetTotalPhysicalMemory(), sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE));
}
