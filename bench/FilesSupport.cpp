#include "Files.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

std::string WorkDir() {
    const char* const dir = std::getenv("ZQ_BENCH_DIR");
    return dir != nullptr ? dir : ".";
}

void MakeFiles(const std::string& dir, long files) {
    if (mkdir(dir.c_str(), 0777) != 0) {
        return;
    }
    for (long i = 0; i < files; ++i) {
        close(open((dir + "/entry" + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0666));
    }
}

long CountFiles(const std::string& dir) {
    long files = 0;
    DIR* const stream = opendir(dir.c_str());
    while (const dirent* const entry = readdir(stream)) {
        struct stat status;
        if (fstatat(dirfd(stream), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode)) {
            ++files;
        }
    }
    closedir(stream);
    return files;
}

void MakeTree(const std::string& top, long files) {
    mkdir(top.c_str(), 0777);
    std::string dir;
    for (long i = 0; i < files; ++i) {
        if (i % 100 == 0) {
            dir = top + "/dir" + std::to_string(i / 100);
            mkdir(dir.c_str(), 0777);
        }
        close(open((dir + "/file" + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0666));
    }
}

namespace {
constexpr long Marker = SYS_getppid;  // stands before and behind the work that is counted

[[noreturn]] void RunTraced(const std::function<void()>& work) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
        _exit(1);
    }
    raise(SIGSTOP);
    syscall(Marker);
    work();
    syscall(Marker);
    _exit(0);
}

/// Whether @p child has stopped on entering a system call; which one goes to @p number.
bool EntersCall(pid_t child, long& number) {
    __ptrace_syscall_info info = {};
    const long size = ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    number = size > 0 ? static_cast<long>(info.entry.nr) : -1;
    return size > 0 && info.op == PTRACE_SYSCALL_INFO_ENTRY;
}
}  // namespace

double SystemCalls(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        RunTraced(work);
    }
    int status = 0;
    int markers = 0;
    double calls = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        long number = -1;
        if (WSTOPSIG(status) == SIGSTOP) {
            ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);  // tells stops at system calls apart
        }
        if (WSTOPSIG(status) == (SIGTRAP | 0x80) && EntersCall(child, number)) {
            if (number == Marker) {
                ++markers;
            } else if (markers == 1) {
                ++calls;
            }
        }
        if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) {
            break;
        }
    }
    return markers == 2 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? calls : -1;
}
