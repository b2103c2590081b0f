#include "Stress.h"

namespace
{
struct Runner
{
    explicit Runner(const Deadline& end) : deadline(end)
    {
    }

    ZQThread thread;
    const Deadline& deadline;  // who stops and joins may meet a run that another thread has begun in between
    std::atomic<int> inside{0};
    std::atomic<long> runs{0};

    static void Run(ZQThread& thread, void* p)
    {
        Runner& runner = *static_cast<Runner*>(p);
        Demand(runner.inside.fetch_add(1) == 0, "two runs of a thread at once");
        Demand(thread.GetThreadID() == ZQThread::GetCurrentThreadID(), "a thread does not know itself");
        ++runner.runs;
        while (!thread.TestExit() && runner.runs % 7 != 0 && !runner.deadline.Passed())
        {
            std::this_thread::yield();
        }
        --runner.inside;
    }
};

void OneStep(Runner& runner, Chance& chance)
{
    ZQThread& thread = runner.thread;
    switch (chance.Below(8))
    {
    case 0: thread.Suspend(); break;
    case 1: thread.Resume(); break;
    case 2: thread.Stop(); break;
    case 3:
        thread.Stop();
        thread.Join();
        break;
    case 4: (void)(thread.IsPause() && thread.IsRunning() && thread.GetThreadID() != 0); break;
    default: thread.Start(Runner::Run, &runner); break;
    }
}
}  // namespace

void StressThreads(const StressOptions& options)
{
    const Deadline deadline(options.seconds);
    Runner runners[3] = {Runner(deadline), Runner(deadline), Runner(deadline)};
    std::atomic<long> steps{0};
    InThreads(4, [&](int thread) {
        Chance chance(options.seed, thread);
        while (!deadline.Passed())
        {
            OneStep(runners[chance.Below(3)], chance);
            ++steps;
        }
        for (Runner& runner : runners)
        {
            runner.thread.Stop();  // a paused run, for somebody who still joins it
        }
    });
    long runs = 0;
    for (Runner& runner : runners)
    {
        runner.thread.Stop();
        runner.thread.Join();
        Demand(runner.inside == 0 && runner.thread.GetThreadID() == -1, "a joined thread still runs");
        runs += runner.runs;
    }
    std::printf("threads: %ld operations, %ld runs\n", steps.load(), runs);
}
