#include "FailingCalls.h"

#include "Fatal.h"
#include "Threads.h"

#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <link.h>
#include <map>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
// How each fails. The last two do their work and then report the failure, since nobody can do that work again.
enum Failure { Never, Null, MinusOne, Number, DoneMinusOne, DoneNumber };
const std::pair<Failure, const char*> kinds[] = {
    {Null, "new malloc calloc"},
    {Never, "free"},
    {Null, "dlopen dlsym fdopendir getcwd getenv inet_aton inet_ntop isatty localtime_r opendir readdir"},
    {MinusOne,
     "chdir clock_gettime close_range connect dup2 execvp fcntl fork ftruncate getifaddrs getsockname gettimeofday "
     "ioctl kill lockf lstat mkdir mktime mmap open openat read readlink readlinkat remove rmdir sched_yield setenv "
     "setsockopt shm_open signal socket stat statfs syscall sysconf sysinfo uname unlinkat unsetenv usleep waitid "
     "waitpid writev"},
    {Number, "gethostbyname_r pthread_create pthread_setname_np pthread_cond_broadcast pthread_cond_init "
             "pthread_cond_signal pthread_cond_timedwait pthread_condattr_init pthread_condattr_setclock "
             "pthread_mutex_init pthread_mutex_lock pthread_mutex_trylock pthread_mutex_unlock pthread_rwlock_init "
             "pthread_rwlock_rdlock pthread_rwlock_unlock pthread_rwlock_wrlock pthread_rwlockattr_init"},
    {DoneMinusOne, "close closedir munmap shm_unlink"},
    {DoneNumber, "dlclose pthread_detach pthread_join"},
};
constexpr size_t MostFunctions = 100, New = 0, Malloc = 1, Calloc = 2, Free = 3;

/// Any function of up to six numbers and pointers: both machines pass them alike, to variadic functions too.
using Function = long (*)(long, long, long, long, long, long);
struct {
    std::string name;
    Failure failure;
    Function original;
} functions[MostFunctions];

/// What the children of a test share with it, and with theirs.
struct Shared {
    std::atomic<int> calls[MostFunctions], failing, left, error, injected;
};
Shared& shared = *new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared;
std::atomic<bool> armed{false};
std::atomic<long> heapBlocks{0};

bool Fails(size_t index) {
    if (!armed) {
        return false;
    }
    ++shared.calls[index];
    const bool fails = shared.failing == static_cast<int>(index) && --shared.left == 0;
    shared.injected += fails ? 1 : 0;
    return fails;
}

template <size_t Index> long Hook(long a, long b, long c, long d, long e, long f) {
    const auto& function = functions[Index];
    const bool fails = Fails(Index);
    long result = 0;
    if (!fails || function.failure >= DoneMinusOne) {
        result = function.original(a, b, c, d, e, f);
        heapBlocks += Index == Malloc || Index == Calloc ? result != 0 : Index == Free ? -(a != 0) : 0;
    }
    if (fails) {
        errno = shared.error;
        result = function.failure == Null                                           ? 0
                 : function.failure == MinusOne || function.failure == DoneMinusOne ? -1
                                                                                    : errno;
    }
    return result;
}

template <size_t... Index> Function HookOf(size_t index, std::index_sequence<Index...>) {
    static constexpr Function hooks[] = {Hook<Index>...};
    return hooks[index];
}

/// Puts the hooks into the tables by which the library calls others, so that nobody else's calls count, but for those that the
/// bodies in its headers make: the program, which has no name and comes first, locks and unlocks its mutexes itself.
int HookLibrary(dl_phdr_info* info, size_t, void*) {
    const bool library = std::strstr(info->dlpi_name, "libZQFoundation") != nullptr;
    if (!library && *info->dlpi_name != '\0') {
        return 0;
    }
    const ElfW(Phdr)* header = info->dlpi_phdr;
    while (header->p_type != PT_DYNAMIC) { ++header; }
    std::map<ElfW(Sxword), ElfW(Addr)> entries;
    for (auto* d = reinterpret_cast<const ElfW(Dyn)*>(info->dlpi_addr + header->p_vaddr); d->d_tag != DT_NULL; ++d) {
        entries[d->d_tag] = d->d_un.d_ptr;
    }
    for (const auto& [table, bytes] : {std::pair(DT_JMPREL, DT_PLTRELSZ), std::pair(DT_RELA, DT_RELASZ)}) {
        auto* slot = reinterpret_cast<const ElfW(Rela)*>(entries[table]);
        for (auto* const end = slot + entries[bytes] / sizeof(*slot); slot != end; ++slot) {
            const auto& symbol = reinterpret_cast<const ElfW(Sym)*>(entries[DT_SYMTAB])[ELF64_R_SYM(slot->r_info)];
            const char* const name = reinterpret_cast<const char*>(entries[DT_STRTAB]) + symbol.st_name;
            for (size_t i = New + 1; i < MostFunctions; ++i) {
                const bool inHeaders =
                    functions[i].name == "pthread_mutex_lock" || functions[i].name == "pthread_mutex_unlock";
                if (*name != '\0' && functions[i].name == name && (library || inHeaders)) {
                    const auto target = info->dlpi_addr + slot->r_offset, page = static_cast<ElfW(Addr)>(getpagesize());
                    mprotect(reinterpret_cast<void*>(target / page * page), page, PROT_READ | PROT_WRITE);
                    functions[i].original = reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
                    *reinterpret_cast<Function*>(target) = HookOf(i, std::make_index_sequence<MostFunctions>());
                }
            }
        }
    }
    return library ? 1 : 0;
}

std::string ResultOf(long (*scenario)()) {
    try {
        return std::to_string(scenario());
    } catch (const std::exception& exception) { return exception.what(); }
}

/// The child's part.
void RunHere(long (*scenario)()) {
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const long blocks = heapBlocks + LiveAllocations(), files = openFiles();
    armed = true;
    const std::string result = ResultOf(scenario);
    armed = false;
    const long left = heapBlocks + LiveAllocations() - blocks, leftOpen = openFiles() - files;
    std::printf("%s%s", result.c_str(), leftOpen != 0 ? ", left open" : "");
    std::fflush(stdout);
    const int out = dup(STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    const std::string again = ResultOf(scenario);
    std::fflush(stdout);
    dprintf(out, "\f%ld\f%s", left, again.c_str());
    EndChild(0);
}

/// What the child says: the outcome, what it leaves allocated, the outcome of another run. The last two are missing if it died.
std::vector<std::string> RunInChild(long (*scenario)(), int function, int nth, int error) {
    new (&shared) Shared{};
    shared.failing = function;
    shared.left = nth;
    shared.error = error;
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO), dup2(ends[1], STDERR_FILENO), close(ends[0]), close(ends[1]);
        closefrom(3);  // what this program was started with
        alarm(60);
        RunHere(scenario);
    }
    close(ends[1]);
    std::string text;
    char block[4096];
    for (ssize_t n; (n = read(ends[0], block, sizeof(block))) > 0;) { text.append(block, static_cast<size_t>(n)); }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    text += WIFSIGNALED(status) ? std::string(" SIG") + sigabbrev_np(WTERMSIG(status)) : "";
    // Lines of the library's own sources, which no report promises, and the numbers of processes change.
    for (const std::string mark : {"ZQMutex:", "ZQThreadPool:", "ZQThreadPool, ", "/proc/"}) {
        for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos;) {
            at += mark.size();
            const size_t digits = text.find_first_not_of("0123456789", at) - at;
            text.replace(at, digits, digits != 0 ? "N" : "");
        }
    }
    for (size_t at = 0; (at = text.find("qemu: ", at)) != std::string::npos;) {  // an emulator's own word on the signal
        text.erase(at, text.find('\n', at) + 1 - at);
    }
    std::replace(text.begin(), text.end(), '\n', '|');
    std::istringstream stream(text);
    std::vector<std::string> parts;
    while (std::getline(stream, text, '\f')) { parts.push_back(text); }
    return parts;
}
}  // namespace

bool AllocationFails() { return Fails(New); }

std::string SweepFailures(long (*scenario)(), int error, bool locks) {
    size_t count = 0;
    for (const auto& [failure, names] : kinds) {
        std::istringstream stream(names);
        while (stream >> functions[count].name) { functions[count++].failure = failure; }
    }
    static const int hooked = dl_iterate_phdr(HookLibrary, nullptr);
    const std::vector<std::string> usual = RunInChild(scenario, -1, 0, error);
    if (hooked != 1 || usual.size() != 3) {
        return "no usual outcome: " + usual.at(0);
    }
    int calls[MostFunctions];
    std::copy(std::begin(shared.calls), std::end(shared.calls), calls);
    std::map<std::string, std::string> functionsOf;
    for (size_t i = 0; i < count; ++i) {
        const bool ofLock = functions[i].name.compare(0, 13, "pthread_mutex") == 0 ||
                            functions[i].name.compare(0, 12, "pthread_cond") == 0;
        std::vector<std::string> outcomes;  // each once: threads reach some in any order
        for (int nth = 1; calls[i] != 0 && functions[i].failure != Never && (locks || !ofLock) && nth <= 30; ++nth) {
            std::vector<std::string> parts = RunInChild(scenario, static_cast<int>(i), nth, error);
            if (shared.injected == 0) {
                break;
            }
            if (parts.size() == 3) {
                // The usual run leaves what the library keeps for later; a failure may leave less.
                parts[0] += std::stol(parts[1]) > std::stol(usual[1]) ? ", leak" : "";
                parts[0] += parts[2] != usual[2] ? ", then " + parts[2] : "";
            }
            if (parts[0] != usual[0] && std::find(outcomes.begin(), outcomes.end(), parts[0]) == outcomes.end()) {
                outcomes.push_back(parts[0]);
            }
        }
        std::sort(outcomes.begin(), outcomes.end());
        std::string text;
        for (const std::string& outcome : outcomes) { text += (text.empty() ? ": " : " / ") + outcome; }
        if (!text.empty()) {
            functionsOf[text] += (functionsOf[text].empty() ? "" : " ") + functions[i].name;
        }
    }
    std::string report = usual[0];
    for (const auto& [outcomes, names] : functionsOf) { report += "; " + names + outcomes; }
    return report + "\n";
}
