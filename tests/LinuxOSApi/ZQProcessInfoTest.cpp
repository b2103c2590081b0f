#include "ZQOSApi.h"

#include "support/Fatal.h"
#include "support/ProcText.h"

#include <LinuxOSApi/ZQCpuSample.h>
#include <LinuxOSApi/ZQProcText.h>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>

namespace {
const std::string Max = "18446744073709551615";

/// The name that ZQReadProcessName() makes of a link that leads to @p target.
std::string NameOf(const std::string& target) {
    const WorkDir dir;
    std::filesystem::create_symlink(target, "exe");
    char name[ZQProcessNameSize];
    EXPECT_TRUE(ZQReadProcessName("exe", name));
    return name;
}

/// Uses five ticks of processor time.
void Work() {
    for (const clock_t end = clock() + CLOCKS_PER_SEC / 20; clock() < end;) {}
}
}  // namespace

TEST(ZQProcessInfoTest, ReadsCounters) {
    const struct {
        std::string text;
        int threads;
        uint64_t read, written;  // 77: not told
    } cases[] = {
        {"rchar: 1\nread_bytes: 4096\nwrite_bytes: 8192\ncancelled_write_bytes: 5\n", 0, 4096, 8192},
        {"read_bytes 3\nread_bytes: 1: 2\nread_bytes: 9\nwrite_bytes: " + Max, 0, 2, ~uint64_t(0)},
        {"write_bytes:  x\nread_bytes: " + Max + "0", 0, ~uint64_t(0), 0},
        {"Threads 5\nThreads: 9: -4 2\nThreads:\t7", -4, 77, 77},
        {std::string(2042, ' ') + "Threads: 1\nThreads: 2\n", 2, 77, 77},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        ProcText status(c.text), forRead(c.text), forWritten(c.text);
        EXPECT_EQ(ZQReadThreadNum(status), c.threads);
        uint64_t read = 77, written = 77;
        ZQReadDiskIOBytes(forRead, &read, nullptr);
        ZQReadDiskIOBytes(forWritten, nullptr, &written);
        EXPECT_TRUE(read == c.read && written == c.written) << read << " " << written;
    }
}

TEST(ZQProcessInfoTest, ParsesNumbers) {
    int64_t resident = -7, total = -7;
    EXPECT_FALSE(ZQParseMemoryStatus("1000 20 3 4 5 6 x", 4096, &resident, &total));
    EXPECT_TRUE(resident == -7 && total == -7);
    EXPECT_TRUE(ZQParseMemoryStatus(" 1000\n-1 3 4 5 6 7", 512, &resident, &total));
    EXPECT_TRUE(resident == -1 && total == 500);
    EXPECT_EQ(ZQParseCpuTime("cpu  1 20 300 4000 50000 600000\n"), 4321U);
    EXPECT_EQ(ZQParseCpuTime(("cpu " + Max + " 3").c_str()), 2U);
    EXPECT_EQ(ZQParseProcessTime("7 (name) R 1 2 3 -1 -1 9 10 11 12 13 400 50 6 7 8\n"), 450U);
    EXPECT_EQ(ZQParseProcessTime(("7 (n) R 1 2 3 4 5 6 " + Max + "0 1 1 1 9 " + Max).c_str()), 8U);
    EXPECT_EQ(ZQParseProcessTime("7 (a name) R 1 2 3 -1 -1 9 10 11 12 13 400 50\n"), 0U);
}

TEST(ZQProcessInfoTest, ComparesSamples) {
    using Result = ZQCpuSampleResult;
    constexpr uint64_t Much = 1ULL << 59;
    const struct {
        ZQCpuSample sample;
        Result result;
        int64_t percent;
    } steps[] = {
        {{1000, 0}, Result::First, 77},        {{1100, 10}, Result::First, 77},
        {{1200, 60}, Result::Compared, 200},   {{1200, 90}, Result::NoTime, 77},
        {{1600, 61}, Result::Compared, 1},     {{1900, 60}, Result::Compared, -1},
        {{1800, 59}, Result::Compared, 4},     {{1799, 59 + Much}, Result::Compared, INT64_MIN},
        {{0, 59 + Much}, Result::Compared, 0}, {{5, 5}, Result::First, 77},
    };
    ZQCpuSample last = {0, 0};
    for (const auto& step : steps) {
        int64_t percent = 77;
        EXPECT_EQ(ZQTakeCpuSample(last, step.sample, 4, percent), step.result) << &step - steps;
        EXPECT_EQ(percent, step.percent) << &step - steps;
    }
}

TEST(ZQProcessInfoDeathTest, NameIsTheLastPartOfAWholeLink) {
    EXPECT_EQ(NameOf("/" + std::string(510, 'n')), std::string(510, 'n'));
    ExpectCrash([] { NameOf("/" + std::string(511, 'n')); },
                "(^|\n)ZQGetCurProcessName buf is not enouugh. \n_Abort: 0, Foundation/src/LinuxOSApi, 1402\n");
    ExpectCrash([] { NameOf("name"); },
                "(^|\n)ZQGetCurProcessName\\(\\) find delmiter fail! \n_Abort: 0, Foundation/src/LinuxOSApi, 1411\n");
    EXPECT_EQ(ZQGetCurProcessName(), std::filesystem::read_symlink("/proc/self/exe").filename());
}

TEST(ZQProcessInfoTest, TellsOfThisProcessOrWhatCannotBeOpened) {
    int64_t resident = 0, total = 0;
    ZQGetAppMemoryStatus(&resident, &total);
    EXPECT_TRUE(0 < resident && resident < total);
    const int threads = ZQGetCurProcessThreadNum();
    EXPECT_GT(threads, 0);
    EXPECT_GT(std::async(std::launch::async, ZQGetCurProcessThreadNum).get(), threads);
    EXPECT_EQ(ZQGetCurProcessDiskIOBytes(nullptr, nullptr), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ((NoFiles(), ZQGetAppMemoryStatus(&resident, &total), resident + total), -2);
    EXPECT_EQ((NoFiles(), ZQGetCurProcessCpuUsage()), -1);
    EXPECT_EQ((NoFiles(), ZQGetCurProcessThreadNum()), -1);
    EXPECT_EQ((NoFiles(), ZQGetCurProcessDiskIOBytes(nullptr, nullptr)), -1);
    const std::string dir = "/proc/" + std::to_string(getpid());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ZQGetCurProcessCpuUsage() fopen() /proc/cpuinfo fail! \nZQGetCurProcessThreadNum() fopen() " + dir +
                  "/status fail! \nZQGetCurProcessDiskIOBytes() fopen() " + dir + "/io fail! \n");
}

TEST(ZQProcessInfoTest, CpuUsageMeasuresFromCallToCall) {
    Work();
    char line[256];
    ZQProcFile("/proc/self/stat").ReadLine(line);
    if (ZQParseProcessTime(line) == 0) {
        GTEST_SKIP() << "an emulator tells no times";
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZQGetCurProcessCpuUsage(), -1);
    Work();
    EXPECT_GE(ZQGetCurProcessCpuUsage(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ZQGetCurProcessCpuUsage() last cpu time or process time is 0! \n");
}
