// A callback that runs every 20 ms until it has had enough, and the time that this took.

#include <ZQTime.h>

#include <cstdio>

struct Beats
{
    ZQMutex mutex;
    ZQCond changed;
    int count;
};

static void Beat(ZQTimer&, void* user)
{
    Beats& beats = *static_cast<Beats*>(user);
    ZQAutoMutex lock(beats.mutex);
    ++beats.count;
    beats.changed.Signal();
}

int main()
{
    ZQTimer::ModuleInit(1);  // the service thread, and at most one worker
    Beats beats = {{}, {}, 0};
    ZQTimeMeter meter;
    {
        ZQTimer timer(1);
        timer.Init(20, Beat, &beats);
        timer.Start(false);  // the first run after one interval
        {
            ZQAutoMutex lock(beats.mutex);
            while (beats.count < 3)
            {
                beats.changed.WaitTimeout(beats.mutex, 1000);
            }
        }
        timer.Stop(true);  // no run goes on after this
    }
    std::printf("beats: %s\n", beats.count >= 3 ? "three or more" : "too few");
    std::printf("at least 60 ms: %s\n", meter.GetElapsed() >= 60 ? "yes" : "no");
    ZQTimer::ModuleUninit();
}

// prints:
// beats: three or more
// at least 60 ms: yes
