#include "ZQSharedMemory.h"

#include "support/WorkDir.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr auto ReadOnly = ZQSharedMemory::AccessReadOnly, ReadWrite = ZQSharedMemory::AccessReadWrite;

/// A name that no other run of the tests uses.
std::string UniqueName() { return "zq-test-" + std::to_string(getpid()); }

bool Exists(const std::string& name) { return access(("/dev/shm/" + name).c_str(), F_OK) == 0; }
}  // namespace

TEST(ZQSharedMemoryTest, ReportsWhatFails) {
    const WorkDir dir;
    const std::string huge = dir.Path("huge"), none = dir.Path("none"), name = UniqueName();
    std::ofstream(huge).flush();
    std::filesystem::resize_file(huge, (1ULL << 32) + 4096);
    const std::string invalid = "create shared memory object: param error ";
    const struct {
        ZQSharedMemory memory;
        std::string line;
    } cases[] = {
        {{name.c_str(), 0, ReadWrite, nullptr, true}, invalid},
        {{nullptr, 1, ReadWrite, nullptr, true}, invalid},
        {{nullptr, ReadOnly, nullptr}, invalid},
        {{none.c_str(), ReadOnly, nullptr}, invalid},
        {{huge.c_str(), ReadOnly, nullptr}, invalid},
        {{name.c_str(), 1, ReadWrite, nullptr, false}, "create shared memory object: /" + name + " "},
        {{name.c_str(), 1, ReadOnly, nullptr, true}, "resize shared memory object: /" + name + " "},
        {{"/", ReadWrite, nullptr}, "open memory mapped file: / "},
        {{"/", ReadOnly, nullptr}, "map shared memory object: / "},
    };
    for (const auto& c : cases) {
        testing::internal::CaptureStdout();
        EXPECT_FALSE(const_cast<ZQSharedMemory&>(c.memory).Create());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot " + c.line + "\n");
        EXPECT_FALSE(Exists(name));
    }
}

TEST(ZQSharedMemoryTest, ProcessesShareAnObjectUntilItsOwnerGoes) {
    const std::string name = UniqueName();
    auto owner = std::make_unique<ZQSharedMemory>(name.c_str(), 10000, ReadWrite, nullptr, true);
    const int lowest = dup(0);
    close(lowest);
    ASSERT_TRUE(owner->Create());
    EXPECT_EQ(fcntl(lowest, F_GETFD), FD_CLOEXEC);
    char* const begin = static_cast<char*>(owner->Begin());
    ASSERT_EQ(owner->End(), begin + 10000);
    for (const auto mode : {ReadWrite, ReadOnly}) {
        if (fork() == 0) {
            signal(SIGSEGV, SIG_DFL);
            ZQSharedMemory other(name.c_str(), 10000, mode, nullptr, false);
            if (other.Create()) {
                static_cast<volatile char*>(other.Begin())[9999] = mode == ReadOnly ? 'r' : 'w';
            }
            _exit(0);
        }
        int status = -1;
        wait(&status);
        EXPECT_EQ(WTERMSIG(status), mode == ReadOnly ? SIGSEGV : 0);
        EXPECT_EQ(begin[9999], 'w');
    }
    ZQSharedMemory user(name.c_str(), 10000, ReadOnly, nullptr, false);
    ASSERT_TRUE(user.Create());
    owner.reset();
    EXPECT_FALSE(Exists(name));
    EXPECT_EQ(static_cast<char*>(user.Begin())[9999], 'w');  // what is mapped stays
}

TEST(ZQSharedMemoryTest, MapsAFile) {
    const WorkDir dir;
    const std::string path = dir.Path("file");
    std::ofstream(path) << "12345";
    ZQSharedMemory file(path.c_str(), ReadWrite, nullptr);
    ASSERT_TRUE(file.Create());
    ASSERT_EQ(static_cast<char*>(file.End()) - static_cast<char*>(file.Begin()), 5);
    static_cast<char*>(file.Begin())[4] = '6';
    int number = 0;
    std::ifstream(path) >> number;
    EXPECT_EQ(number, 12346);
}

TEST(ZQSharedMemoryTest, HandlesShareOneReference) {
    const std::string name = UniqueName();
    close(shm_open(name.c_str(), O_RDWR | O_CREAT, 0600));
    ZQSharedMemory target;
    EXPECT_TRUE(!target.Create() && target.Begin() == nullptr && target.End() == nullptr);
    static std::aligned_storage_t<sizeof(ZQSharedMemory)> space;  // never destroyed: the other handle releases for both
    ZQSharedMemory& source = *new (&space) ZQSharedMemory(name.c_str(), 4096, ReadWrite, nullptr, true);
    EXPECT_EQ(source.End(), reinterpret_cast<void*>(4096));  // as long as nothing is mapped
    target = source;
    target = source;
    const ZQSharedMemory& self = target;
    target = self;
    EXPECT_TRUE(Exists(name));
    target = ZQSharedMemory();
    EXPECT_FALSE(Exists(name));  // the owner removed it without having created it
    EXPECT_EQ(target.Begin(), nullptr);
}
