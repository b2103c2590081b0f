#include "support/FailingCalls.h"

#include "ZQFoundation.h"
#include "support/FakeNetwork.h"
#include "support/Fatal.h"
#include "support/Threads.h"
#include "support/WorkDir.h"

#include <ZQThreadPool/ZQTaskPoolCore.h>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {
bool GoOn(const _ZQStruFileInfo&, void*) { return true; }

/// Results as the digits of a number, each plus one; some are negative.
long Digits(std::initializer_list<long> results) {
    long digits = 0;
    for (const long result : results) { digits = digits * 10 + result + 1; }
    return digits;
}

/// A child process that waits, and is gone afterwards.
struct Child {
    pid_t pid = fork();
    Child() {
        if (pid == 0) {
            _exit(pause());
        }
    }
    ~Child() { kill(pid, SIGKILL), waitpid(pid, nullptr, 0); }
};

int64_t a, b;
uint64_t u;
char text[128];
constexpr char longName[] = "./a name that is too long for a string without memory of its own";

// By name; what is to come of each stands in FailingCalls.txt.
const std::pair<const char*, long (*)()> scenarios[] = {
    // clang-format off
    {"locks: ZQMutex", [] { ZQMutex m; m.Lock(), m.Unlock(); const bool got = m.TryLock(); if (got) { m.Unlock(); } return long(got); }},
    {"locks: ZQMutexRW", [] { ZQMutexRW m; m.LockRead(), m.Unlock(), m.LockWrite(), m.UnlockWrite(); return 0L; }},
    {"locks: ZQCond", [] { ZQMutex m; ZQCond c; m.Lock(), c.Signal(), c.Broadcast(); const int r = c.WaitTimeout(m, 0); const bool held = !m.TryLock(); m.Unlock(); return held ? r : 9L; }},
    {"locks: ZQProcessMutex", [] { ZQProcessMutex m("lock"); const bool got = m.TryLock(); if (got) { m.Unlock(); } const int r = m.Lock(); m.Unlock(); return Digits({got, r}); }},
    {"ZQThread", [] { ZQThread t; Gate g; const bool r = t.Start(ArriveAt, &g); t.Join(); return Digits({r, g.Arrivals()}); }},
    {"ZxxListInner", [] { ZxxListInner<int> l; l.push_back(1), l.push_front(2); return l.size(); }},
    {"ZQThreadPool", [] { ZQThreadPool p(1, 1, 0); Gate g; const bool r = p.Start(ArriveAt, &g); g.WaitFor(1); return long(r); }},
    {"ZQRefThreadPool", [] { ZQRefThreadPool* const p = ZQRefThreadPool::Create(1, 0); Gate g; if (p != nullptr) { p->Start(ArriveAt, &g); g.WaitFor(1); p->Unref(); } return long(p != nullptr); }},
    {"ZQTaskPool", [] { ZQRefThreadPool* const s = ZQRefThreadPool::Create(1, 0); if (s == nullptr) { return -1L; } ZQTaskPool p(0, 2); Gate g; const int i = p.Init(s, ArriveAt, nullptr, nullptr), t = p.Task(&g, false); if (t == 0) { g.WaitFor(1); } p.Uninit(true), s->Unref(); return Digits({i, t, g.Arrivals()}); }},
    {"ZQThreadPoolGlobalInit", [] { ZQThreadPoolGlobalCleanup(), ZQThreadPoolGlobalInit(); return 0L; }},
    {"ZQTimer", [] { const bool up = ZQTimer::ModuleInit(1); if (!up) { return 0L; } Gate g; bool r; { ZQTimer t(1); r = t.Init(0, ArriveAt, &g) && t.Start(true); if (r) { g.WaitFor(2); } } ZQTimer::ModuleUninit(); return Digits({up, r}); }},
    {"ZQDateTime", [] { ZQDateTime d(2024, 1, 2, 3, 4, 5, 6); return Digits({d.GetLocalTime(), d.Assign(2024, 1, 2, 3, 4, 5, 6), d.SetEpochTime(0), d.AddDays(1), d.AddYears(1), d.AddMonths(1), d.SetFromFormat("2024-01-02 03:04:05")}); }},
    {"clocks", [] { return Digits({ZQDateTime::GetEpochMilliseconds() != -1, ZQDateTime::GetTickCount() != 0}); }},
    {"ZQMemoryPool", [] { ZQMemoryPool p(8, 4, 0, false); void *const x = p.Malloc(1), *const y = p.MallocEx(100); p.Free(x), p.ShrinkMemory(0); const unsigned n = p.GetTotalCount(); p.Free(y), p.ShrinkMemory(0); return Digits({x != nullptr, y != nullptr, n != 0}); }},
    {"ZQMakeDir", [] { const int r = ZQMakeDir(longName); return Digits({r, ZQRemoveDir(longName)}); }},
    {"ZQRecursiveMakeDir", [] { const int r = ZQRecursiveMakeDir("new/directory//below"); rmdir("new/directory/below"), rmdir("new/directory"), rmdir("new"); return long(r); }},
    {"ZQForcedRemoveDir", [] { mkdir("new", 0700), mkdir("new/a name that is too long for a string without memory", 0700); const int r = ZQForcedRemoveDir("new"); ZQForcedRemoveDir("new"); return long(r); }},
    {"ZQRemove", [] { close(open("new", O_CREAT | O_CLOEXEC, 0600)); return long(ZQRemove("new")); }},
    {"ZQFetchDir", [] { return long(ZQFetchDir("./././././././tree", GoOn, nullptr)); }},
    {"ZQGetEmptyFolderList", [] { return long(ZQGetEmptyFolderList("./././././././dirs", GoOn, nullptr)); }},
    {"ZQIsFolderEmpty", [] { return long(ZQIsFolderEmpty("dirs")); }},
    {"files by path", [] { return Digits({ZQIsFolder("tree"), ZQIsFile("file"), ZQIsFileExist("file"), ZQGetFileSize("file")}); }},
    {"disks", [] { return Digits({ZQGetSpaceSize("/", &u, &u, &u), ZQGetDiskList(GoOn, nullptr), ZQFetchDiskInfo(GoOn, nullptr)}); }},
    {"what the system is", [] { return Digits({ZQGetTotalPhysicalMemory() > 0, ZQGetCPUVersion() != nullptr, *ZQGetOSVersion() != '\0', *ZQGetCurProcessName() != '\0'}); }},
    {"ZQGetAppMemoryStatus", [] { ZQGetAppMemoryStatus(&a, &b); return a > 0 && b > 0 ? 1 : a + b; }},
    {"ZQGetCurProcessThreadNum", [] { return std::min(ZQGetCurProcessThreadNum(), 1) * 1L; }},
    {"ZQGetCurProcessDiskIOBytes", [] { return long(ZQGetCurProcessDiskIOBytes(&u, &u)); }},
    {"ZQGetCurProcessCpuUsage", [] { ZQGetCurProcessCpuUsage(); return 0L; }},
    {"ZQGetCPUProcessorNumber", [] { return long(ZQGetCPUProcessorNumber() >= 1); }},
    {"ZQGetIFAddrLists", [] { ZQIFAddrRecord* l; const int r = ZQGetIFAddrLists(&l); ZQFreeIFAddrLists(l); return long(r); }},
    {"ZQGetMacAddrLists", [] { ZQMacAddrRecord* l; const int r = ZQGetMacAddrLists(&l); ZQFreeMacAddrLists(l); return long(r); }},
    {"ZQGetMacAddrLists, no interfaces", [] { UseInterfaces({}); ZQMacAddrRecord* l; const int r = ZQGetMacAddrLists(&l); ZQFreeMacAddrLists(l); return long(r); }},
    {"ZQGuessLocalIp", [] { const bool r = ZQGuessLocalIp("local.test", text); return Digits({r, std::strcmp(text, "192.168.1.2") == 0}); }},
    {"ZQLoadLibrary", [] { void* const l = ZQLoadLibrary("libc.so.6"); const bool r = ZQGetProcAddress(l, "open") != nullptr; ZQFreeLibrary(l); return Digits({l != nullptr, r}); }},
    {"ZQGetCurrentDir", [] { return Digits({ZQGetCurrentDir(text, sizeof(text)) != nullptr, ZQSetCurrentDir(".")}); }},
    {"ZQGetApplicationPath", [] { return long(*ZQGetApplicationPath() == '/'); }},
    {"ZQSetDllDir", [] { const int r = ZQSetDllDir(longName); return Digits({r, ZQGetDllDir(text, sizeof(text)) != nullptr, ZQSetDllDir(nullptr)}); }},
    {"ZQOpenProcess", [] { const pid_t p = pid_t(ZQOpenProcess("/usr/bin/../bin/true", false, 0, nullptr)); int s = 0; waitpid(p, &s, 0); return p < 0 ? p : long(WEXITSTATUS(s)); }},
    {"ZQCloseProcess", [] { const Child c; return Digits({ZQIsProcessAlive(c.pid), ZQCloseProcess(c.pid, 60000)}); }},
    {"ZQTerminateProcess", [] { const Child c; return long(ZQTerminateProcess(c.pid)); }},
    {"ZQGetAliveProcessList", [] { long ids[1]; int n = 1; return long(ZQGetAliveProcessList(longName, ids, &n)); }},
    {"ZQSharedMemory, object", [] { ZQSharedMemory m("zq-test-failing-calls", 10, ZQSharedMemory::AccessReadWrite, nullptr, true); return long(m.Create()); }},
    {"ZQSharedMemory, file", [] { ZQSharedMemory m("./././././././././file", ZQSharedMemory::AccessReadOnly, nullptr); return long(m.Create()); }},
    // clang-format on
};
}  // namespace

TEST(FailingCallsTest, EachHasTheDocumentedResultAndLeavesNothing) {
    UseInterfaces(
        {{"lo", "127.0.0.1", "255.0.0.0", "\0\0\0\0\0"}, {"eth0", "192.168.1.2", "255.255.255.0", "\1\2\3\4\5\6"}});
    const WorkDir dir;
    std::string report;
    for (const auto& [name, run] : scenarios) {
        report += std::string(name) + ": " + SweepFailures(run, EIO, std::strncmp(name, "locks", 5) == 0);
    }
    std::stringstream expected;
    expected << std::ifstream(ZQTESTS_FAILING_CALLS).rdbuf();
    EXPECT_EQ(report, expected.str());
    if (report != expected.str()) {
        std::ofstream(testing::TempDir() + "FailingCalls.txt") << report;
    }  // to compare, and to take if it is right
}

TEST(FatalChecksDeathTest, StateThatOnlyForgeryMakesIsReported) {
    const std::string begin = "^abort Foundation/src/ZQMutex:[0-9]+ expre: m_ZQProcessMutex!=-1, ZQProcessMutex::";
    const std::pair<const char*, void (*)(ZQProcessMutex&)> uses[] = {
        {"Lock", [](ZQProcessMutex& m) { m.Lock(); }},
        {"TryLock", [](ZQProcessMutex& m) { (void)m.TryLock(); }},
        {"Unlock", [](ZQProcessMutex& m) { m.Unlock(); }},
    };
    const WorkDir dir;
    for (const auto& use : uses) {
        ZQProcessMutex mutex("lock");
        const int none = -1, old = std::exchange(reinterpret_cast<int&>(mutex), none);
        ExpectAbort([&] { use.second(mutex); }, begin + use.first + " process mutex is -1! \n");
        reinterpret_cast<int&>(mutex) = old;
    }
    using Core = ZQTaskPoolCore;
    const std::pair<const char*, void (*)(Core&)> forgeries[] = {
        {"ZQAtomicInc\\(m_nActiveThreads\\)<=m_iMaxThread", [](Core& core) { core.m_nActiveThreads = 2; }},
        {"pNode->data.lThreadID==lThreadID", [](Core& core) { (*core.m_listBusySlots.begin()).lThreadID = 7; }},
        {"m_nRefs>0", [](Core& core) { core.m_pPool->StopAll(), core.m_nRefs = 0; }},
    };
    for (const auto& [expression, forge] : forgeries) {
        // The first task forges on its own slot, of which there is one; the core looks when that is given back or taken.
        const auto run = [forge = forge] {
            ZQTaskPool pool(0, 1);
            Core* const core = *reinterpret_cast<Core**>(&pool);
            std::pair<Core*, void (*)(Core&)> data(core, forge);
            pool.Init(
                nullptr,
                [](void* p, void*) {
                    auto& d = *static_cast<decltype(data)*>(p);
                    d.second(*d.first);
                },
                nullptr, nullptr);
            pool.Task(&data, false);
            for (;;) { SleepMs(10), pool.Task(&data, false); }
        };
        ExpectCrash(run, std::string("_Abort: ") + expression + ", Foundation/src/ZQThreadPool, [0-9]+\n");
    }
}
