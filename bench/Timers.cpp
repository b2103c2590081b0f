// Timers: how late they run, what they cost while they run and while they wait, and what starting one takes. All of them have
// an interval of 100 ms, are started at once, and each of them is started anew when it runs, or by itself.

#include "TimerContestants.h"

#include <filesystem>
#include <fstream>

void (*RunTimer)(std::size_t index);

namespace {
constexpr int Interval = 100;         // milliseconds
constexpr int Dormant = 3600 * 1000;  // so long that none runs

std::vector<double> lastRun;
std::vector<double> lateness;
std::atomic<std::size_t> runs{0};

void CountRun(std::size_t) { runs.fetch_add(1, std::memory_order_relaxed); }

void NoteLateness(std::size_t index) {
    const double now = bench::Now();
    if (lastRun[index] > 0) {
        const std::size_t at = runs.fetch_add(1, std::memory_order_relaxed);
        if (at < lateness.size()) {
            lateness[at] = std::max(0.0, now - lastRun[index] - Interval * 1e6);
        }
    }
    lastRun[index] = now;
}

double ProcessorTime() {
    timespec used;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e9 + static_cast<double>(used.tv_nsec);
}

/// Processor time of the thread that looks after ours, in nanoseconds; 0 while it does not run.
double ServiceTime() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        double used = 0;
        std::ifstream(task.path() / "comm") >> name;
        if (name == "ZQTimer" && std::ifstream(task.path() / "schedstat") >> used) {
            return used;
        }
    }
    return 0;
}

template <class Kind> bench::Outcome Lateness(std::size_t count) {
    bench::Outcome out;
    const long milliseconds = bench::Scaled(1300, 350);
    lastRun.assign(count, 0);
    lateness.assign(count * static_cast<std::size_t>(milliseconds / Interval + 2), 0);
    runs = 0;
    RunTimer = NoteLateness;
    {
        Kind timers(count, Interval);
        timers.Start();
        usleep(static_cast<useconds_t>(milliseconds * 1000));
        timers.Stop();
    }
    lateness.resize(std::min(lateness.size(), runs.load()));
    // Each timer can have run so often, less the first run and one for being late; half of that must have been.
    const std::size_t least = count * static_cast<std::size_t>(milliseconds / Interval - 2) / 2;
    out.error = lateness.size() >= least ? nullptr : "the timers did not run";
    out.nanoseconds = bench::Percentile(lateness, 0.5);
    out.more = {{"p99 ns", bench::Percentile(lateness, 0.99)}, {"max ns", bench::Percentile(lateness, 1)}};
    return out;
}

/// Processor time of the whole process while its main thread sleeps: for a run of a callback that does nothing, and as a
/// share of a core.
template <class Kind> bench::Outcome Load(std::size_t count, int interval) {
    bench::Outcome out;
    const long milliseconds = interval == Dormant ? bench::Scaled(600, 100) : bench::Scaled(1000, 300);
    RunTimer = CountRun;
    Kind timers(count, interval);
    timers.Start();
    usleep(interval == Dormant ? 10000 : 150000);
    runs = 0;
    const double usedBefore = ProcessorTime();
    const double serviceBefore = ServiceTime();
    const double before = bench::Now();
    usleep(static_cast<useconds_t>(milliseconds * 1000));
    const double used = ProcessorTime() - usedBefore;
    const double service = ServiceTime() - serviceBefore;
    const double passed = bench::Now() - before;
    const std::size_t ran = runs;
    timers.Stop();
    out.nanoseconds = interval == Dormant ? used / passed * 1e9 : used;
    out.operations = interval == Dormant ? 1 : static_cast<double>(std::max<std::size_t>(ran, 1));
    out.more = {{"% of a core", 100 * used / passed}};
    if (service > 0) {
        out.more.emplace_back("service, % of a core", 100 * service / passed);
    }
    out.error = (interval == Dormant ? ran == 0 : ran >= count) ? nullptr : "the timers did not run as they should";
    return out;
}

template <class Kind> bench::Outcome StartAndStop(std::size_t count) {
    bench::Outcome out;
    RunTimer = CountRun;
    const long rounds = std::max(1L, bench::Scaled(2000, 200) / static_cast<long>(count));
    double stopping = 0;
    for (long i = 0; i < rounds; ++i) {
        Kind timers(count, Dormant);
        out.nanoseconds += timers.Start();
        stopping += timers.Stop();
    }
    out.operations = static_cast<double>(count) * static_cast<double>(rounds);
    out.more = {{"stop ns", stopping / out.operations}};
    return out;
}

template <class Kind> void Add(const char* who) {
    for (const std::size_t count : {1, 100, 10000}) {
        const std::string timers = std::to_string(count) + (count == 1 ? " timer" : " timers");
        bench::Batch("lateness, median, " + timers, who, [count] { return Lateness<Kind>(count); });
        bench::Batch("processor time a run, " + timers, who, [count] { return Load<Kind>(count, Interval); });
        bench::Batch("processor time a second, waiting, " + timers, who,
                     [count] { return Load<Kind>(count, Dormant); });
        bench::Batch("start, " + timers, who, [count] { return StartAndStop<Kind>(count); });
    }
}
}  // namespace

void bench::Register() {
    Add<OurTimers>("ZQTimer");
    Add<FdTimers>("floor: timerfd, epoll");
#ifdef ZQ_HAVE_BOOST
    Add<AsioTimers>("asio steady_timer");
#endif
#ifdef ZQ_HAVE_UV
    Add<UvTimers>("libuv");
#endif
}
