// Something for a debugger to look at: when Observe() is called, everything is as its name says.
#include <ZQFoundation.h>

#include <unistd.h>

ZQMutex heldMutex, freeMutex;
ZQMutexRW readLock, writtenLock;
ZxxListInner<int> threeNumbers;
ZxxList<const char*> noTexts;
ZQDateTime date(2024, 3, 5, 9, 7, 3, 45);
ZQTaskPool busyPool(10, 2);
ZQTimer hourly(7), busy(8);
static long entered = 0;

template <class Condition> static void Await(Condition condition) {
    while (!condition()) { ZQSleep(1); }
}
static void BusyTask(void*, void*) {
    ZQAtomicInc(&entered);
    while (true) { pause(); }
}
static void BusyTimer(ZQTimer&, void*) { BusyTask(nullptr, nullptr); }
__attribute__((noinline)) void Observe() { __asm__ volatile(""); }

int main() {
    heldMutex.Lock();
    readLock.LockRead();
    readLock.LockRead();
    writtenLock.LockWrite();
    for (int i = 1; i <= 3; ++i) { threeNumbers.push_back(10 * i); }
    busyPool.Init(nullptr, BusyTask, nullptr, nullptr);
    for (int i = 0; i < 5; ++i) { busyPool.Task(nullptr, false); }
    Await([] { return ZQAtomicGet(&entered) == 2; });
    ZQRefThreadPool& shared = *ZQRefThreadPool::Global();
    shared.Start([](void*, long) {}, nullptr);
    Await([&] { return ZQAutoMutex(shared.m_mutex), !shared.m_listIdle.empty(); });
    ZQTimer::ModuleInit(3);
    hourly.Init(3600000, BusyTimer, nullptr);
    busy.Init(20, BusyTimer, nullptr);
    hourly.Start(false);
    busy.Start(false);
    Await([] { return ZQAtomicGet(&entered) == 3; });
    Observe();
    _exit(0);
}
