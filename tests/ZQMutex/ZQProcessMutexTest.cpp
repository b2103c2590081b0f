#include "ZQMutex.h"

#include "support/Fatal.h"
#include "support/TempDir.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {
/// The result of @p action in another process.
bool InChild(const std::function<bool()>& action) {
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(action() ? 0 : 1);
    }
    int status = -1;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

constexpr uid_t Nobody = 65534;
}  // namespace

TEST(ZQProcessMutexTest, KeepsProcessesAndThreadsApart) {
    const TempDir dir;
    const std::string key = dir.Path("lock");
    const auto otherGetsIt = [&key] {
        return InChild([&key] {
            ZQProcessMutex* other = new ZQProcessMutex(key.c_str());
            return other->TryLock();  // dropped with the process
        });
    };
    {
        ZQProcessMutex mutex(key.c_str());
        EXPECT_TRUE(otherGetsIt());
        EXPECT_EQ(mutex.Lock(), 0);
        EXPECT_FALSE(otherGetsIt());
        std::thread([&mutex] { EXPECT_FALSE(mutex.TryLock()); }).join();
        mutex.Unlock();
        EXPECT_TRUE(otherGetsIt());
        EXPECT_TRUE(mutex.TryLock());
        EXPECT_FALSE(otherGetsIt());
        mutex.Unlock();
    }
    EXPECT_EQ(access(key.c_str(), F_OK), 0);  // the file stays
}

TEST(ZQProcessMutexTest, LockFileIsForWritingByItsOwnerAlone) {
    const TempDir dir;
    ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
    const std::string key = dir.Path("lock");
    // An ordinary user may not read that file: the second open is the one that matters.
    EXPECT_TRUE(InChild([&key] {
        umask(0);
        if (geteuid() == 0 && setuid(Nobody) != 0) {
            return false;
        }
        ZQProcessMutex first(key.c_str());
        ZQProcessMutex second(key.c_str());
        const bool locked = second.Lock() == 0;
        second.Unlock();
        return locked;
    }));
    struct stat status;
    ASSERT_EQ(stat(key.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, static_cast<mode_t>(0200));
    EXPECT_EQ(status.st_size, 0);
}

TEST(ZQProcessMutexDeathTest, KeyThatCannotBeOpenedIsReported) {
    ExpectAbort([] { ZQProcessMutex mutex(nullptr); },
                "^abort Foundation/src/ZQMutex:[0-9]+ expre: szKey, ZQProcessMutex::ZQProcessMutex szkey is null! \n");
    ExpectAbort([] { ZQProcessMutex mutex("/nonexistent/key"); },
                "^abort Foundation/src/ZQMutex:[0-9]+ expre: m_ZQProcessMutex!=-1, "
                "ZQProcessMutex::ZQProcessMutex open fail! \n");
}
