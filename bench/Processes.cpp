// Processes: start and reap children, of a small parent and of a large one; list processes; read statistics.

#include "Bench.h"

#include <ZQOSApi.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef ZQ_HAVE_GLIB
#include <glib.h>
#endif

namespace {
const char* const Program = "/bin/true";

/// Memory of the parent that is in use while it starts children, in small pages: the kernel copies its tables.
class Ballast {
public:
    explicit Ballast(std::size_t bytes) : m_size(bytes) {
        if (m_size > 0) {
            m_at = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            madvise(m_at, m_size, MADV_NOHUGEPAGE);
            std::memset(m_at, 1, m_size);
        }
    }
    ~Ballast() {
        if (m_size > 0) {
            munmap(m_at, m_size);
        }
    }
    Ballast(const Ballast&) = delete;
    Ballast& operator=(const Ballast&) = delete;

private:
    std::size_t m_size;
    void* m_at = nullptr;
};

bool Reap(long child) {
    int status = -1;
    return child > 0 && waitpid(static_cast<pid_t>(child), &status, 0) == child && status == 0;
}

template <class Start> void AddStart(const char* who, Start start) {
    const auto add = [who, start](const char* workload, std::size_t ballast, long children) {
        bench::Batch(workload, who, [start, ballast, children] {
            bench::Outcome out;
            const Ballast inUse(ballast);
            bool right = Reap(start());
            const double began = bench::Now();
            for (long i = 0; i < children; ++i) { right = Reap(start()) && right; }
            out.nanoseconds = bench::Now() - began;
            out.operations = static_cast<double>(children);
            out.error = right ? nullptr : "a child did not run";
            return out;
        });
    };
    add("start and reap a child, small parent", 0, bench::Scaled(500, 20));
    add("start and reap a child, parent of 500 MB", static_cast<std::size_t>(bench::Scaled(500, 20)) << 20,
        bench::Scaled(15, 2));
}

/// What ours does beside fork and exec, written down in one place: every descriptor above 2 is marked close-on-exec with a
/// line on standard output, what is buffered goes out, and the child marks what other threads have opened since.
long ForkAndMark() {
    DIR* const stream = opendir("/proc/self/fd");
    while (const dirent* const entry = readdir(stream)) {
        const int fd = std::atoi(entry->d_name);
        if (fd > 2) {
            fcntl(fd, F_SETFD, fcntl(fd, F_GETFD) | FD_CLOEXEC);
            std::printf("fcntl fd:%d \n", fd);
        }
    }
    closedir(stream);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        execlp(Program, Program, static_cast<char*>(nullptr));
        _exit(72);
    }
    return child;
}

long ForkAlone() {
    const pid_t child = fork();
    if (child == 0) {
        execlp(Program, Program, static_cast<char*>(nullptr));
        _exit(72);
    }
    return child;
}

long Spawn() {
    pid_t child = -1;
    char* arguments[] = {const_cast<char*>(Program), nullptr};
    return posix_spawnp(&child, Program, nullptr, nullptr, arguments, environ) == 0 ? child : -1;
}

#ifdef ZQ_HAVE_GLIB
long SpawnByGlib() {
    GPid child = -1;
    char* arguments[] = {const_cast<char*>(Program), nullptr};
    const GSpawnFlags flags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH);
    return g_spawn_async(nullptr, arguments, nullptr, flags, nullptr, nullptr, &child, nullptr) != 0 ? child : -1;
}
#endif

constexpr int Known = 50;

/// Processes of a program that nobody else runs: a copy of `sleep`, started so many times.
class Sleepers {
public:
    Sleepers() {
        const char* const dir = std::getenv("ZQ_BENCH_DIR");
        m_path = std::string(dir != nullptr ? dir : ".") + "/zqbench-sleeper";
        m_made = std::system(("cp /bin/sleep '" + m_path + "'").c_str()) == 0;
        for (int i = 0; i < Known; ++i) {
            char* arguments[] = {m_path.data(), const_cast<char*>("600"), nullptr};
            pid_t child = -1;
            m_made = posix_spawn(&child, m_path.c_str(), nullptr, nullptr, arguments, environ) == 0 && m_made;
            m_children.push_back(child);
        }
        usleep(50000);  // until each of them runs its program
    }
    ~Sleepers() {
        for (const pid_t child : m_children) {
            if (child > 0) {
                kill(child, SIGKILL);
                waitpid(child, nullptr, 0);
            }
        }
        unlink(m_path.c_str());
    }
    Sleepers(const Sleepers&) = delete;
    Sleepers& operator=(const Sleepers&) = delete;

private:
    std::string m_path;
    bool m_made;
    std::vector<pid_t> m_children;
};

int ListByHand(const char* part) {
    int found = 0;
    DIR* const stream = opendir("/proc");
    while (const dirent* const entry = readdir(stream)) {
        if (entry->d_name[0] >= '0' && entry->d_name[0] <= '9') {
            const std::string link = std::string(entry->d_name) + "/exe";
            char target[1024];
            const ssize_t length = readlinkat(dirfd(stream), link.c_str(), target, sizeof target - 1);
            if (length > 0) {
                target[length] = '\0';
                found += std::strstr(target, part) != nullptr ? 1 : 0;
            }
        }
    }
    closedir(stream);
    return found;
}

template <class List> void AddList(const char* who, List list) {
    bench::Batch("list the processes of a program", who, [list] {
        bench::Outcome out;
        const Sleepers sleepers;
        const long rounds = bench::Scaled(100, 5);
        bool right = true;
        const double began = bench::Now();
        for (long i = 0; i < rounds; ++i) { right = list() == Known && right; }
        out.nanoseconds = bench::Now() - began;
        out.operations = static_cast<double>(rounds);
        out.error = right ? nullptr : "not all of the program's processes were found, or too many";
        return out;
    });
}

constexpr const char* Part = "zqbench-sleeper";

void AddStatistics() {
    bench::Loop("memory of the process", "ZQGetAppMemoryStatus", [](benchmark::State& state) {
        int64_t resident = 0, all = 0;
        for (auto _ : state) { ZQGetAppMemoryStatus(&resident, &all); }
        return resident > 0 && all > resident;
    });
    bench::Loop("memory of the process", "floor: open, read, strtol", [](benchmark::State& state) {
        long all = 0, resident = 0;
        for (auto _ : state) {
            char text[128] = {};
            const int fd = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
            if (read(fd, text, sizeof text - 1) > 0) {
                char* rest = text;
                all = std::strtol(rest, &rest, 10);
                resident = std::strtol(rest, &rest, 10);
            }
            close(fd);
        }
        return resident > 0 && all > resident;
    });
    bench::Loop("memory of the process", "fopen, fscanf", [](benchmark::State& state) {
        long all = 0, resident = 0;
        for (auto _ : state) {
            std::FILE* const file = std::fopen("/proc/self/statm", "r");
            if (std::fscanf(file, "%ld %ld", &all, &resident) != 2) {
                all = 0;
            }
            std::fclose(file);
        }
        return resident > 0 && all > resident;
    });
    bench::Loop("threads of the process", "ZQGetCurProcessThreadNum", [](benchmark::State& state) {
        int threads = 0;
        for (auto _ : state) { threads = ZQGetCurProcessThreadNum(); }
        return threads >= 1;
    });
    bench::Loop("threads of the process", "floor: open, read, strstr", [](benchmark::State& state) {
        int threads = 0;
        for (auto _ : state) {
            char text[4096] = {};
            const int fd = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
            if (read(fd, text, sizeof text - 1) > 0) {
                threads = std::atoi(std::strstr(text, "\nThreads:") + sizeof "\nThreads:" - 1);
            }
            close(fd);
        }
        return threads >= 1;
    });
}
}  // namespace

void bench::Register() {
    AddStart("ZQOpenProcess", [] { return ZQOpenProcess(Program, true, 0, nullptr); });
    AddStart("floor: fork, exec, the same work", ForkAndMark);
    AddStart("fork, exec alone", ForkAlone);
    AddStart("posix_spawn", Spawn);
#ifdef ZQ_HAVE_GLIB
    AddStart("GLib", SpawnByGlib);
#endif
    AddList("ZQGetAliveProcessList", [] {
        long pids[2 * Known];
        int count = 2 * Known;
        return ZQGetAliveProcessList(Part, pids, &count) ? count : -1;
    });
    AddList("floor: readdir, readlink", [] { return ListByHand(Part); });
    AddStatistics();
}
