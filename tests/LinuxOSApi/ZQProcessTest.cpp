#include "ZQOSApi.h"

#include "support/Fatal.h"
#include "support/Threads.h"
#include "support/WorkDir.h"

#include <climits>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
std::string OutputOf(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

int StatusOf(long pid) {
    int status = -1;
    return waitpid(static_cast<pid_t>(pid), &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ReadAll(int fd) {
    std::string text;
    for (char c; read(fd, &c, 1) == 1;) { text += c; }
    close(fd);
    return text;
}

/// A letter for each message in a sink.
std::string Messages(const char* sink, int fd) {
    const std::map<std::string, const char*> letters = {{"fcntl fd:77 ", "m"},
                                                        {"_Mynohup() ignoring input ", "i"},
                                                        {"redirecting stderr to stdout ", "r"},
                                                        {"appending output to .//nohup.out ", "a"},
                                                        {"failed to open .//nohup.out,errno:21 ", "e"}};
    std::istringstream lines(ReadAll(fd));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        const auto it = letters.find(line);
        text += it != letters.end() ? it->second : line.find("fcntl fd:") == 0 ? "" : line;
    }
    return text.empty() ? "" : " " + (sink + text);
}

/// What becomes of ./sh, started without the console on streams that are a t(erminal), a p(ipe), a f(ile) or c(losed): where they
/// lead, descriptors that leak, the umask, whether hanging up is ignored, and the messages in each sink, n the output file.
std::string RunDetached(const char* streams) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    int ends[2];
    EXPECT_EQ(grantpt(terminal) | unlockpt(terminal) | pipe(ends), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        signal(SIGHUP, SIG_DFL);
        umask(022);
        const int sinks[] = {open(ptsname(terminal), O_RDWR | O_NOCTTY), ends[1], open("f", O_RDWR | O_CREAT, 0600)};
        dup2(ends[1], 77);  // may not leak
        for (int fd = 0; fd < 3; ++fd) {
            const size_t kind = std::string("tpfc").find(streams[fd]);
            kind == 3 ? close(fd) : dup2(sinks[kind], fd);
        }
        const char script[] =
            "( ( for fd in 0 1 2; do readlink /proc/$$/fd/$fd || echo c; done; umask; ls /proc/$$/fd | grep -v '[012]';"
            "grep -q 'SigIgn:.*[13579bdf]$' /proc/$$/status && echo ignored ) | sed \"s:$PWD/::;s:/dev/null:0:;"
            "s:/dev/pts/.*:t:;s/pipe:.*/p/;s:nohup.out:n:\" | tr -d '\\n' >report ); :";
        const char* arguments[] = {"-c", script};
        EndChild(StatusOf(ZQOpenProcess("./sh", false, 2, arguments)));
    }
    EXPECT_EQ(StatusOf(pid), 0);
    close(ends[1]);
    return ReadAll(open("report", O_RDONLY)) + Messages("t:", terminal) + Messages("p:", ends[0]) +
           Messages("f:", open("f", O_RDONLY)) + Messages("n:", open("nohup.out", O_RDONLY));
}
}  // namespace

TEST(ZQProcessTest, DetachesFromTheTerminal) {
    const struct {
        const char *streams, *result;
    } cases[] = {
        {"ttt", "0nn0022ignored t:m n:a"}, {"ttp", "0np0022ignored t:m n:a"}, {"ttc", "0nc0022ignored t:m n:a"},
        {"tpt", "0pp0022ignored p:mr"},    {"tft", "0ff0022ignored f:mr"},    {"tct", "0cn0022ignored n:ar"},
        {"tpp", "0pp0022ignored p:mi"},    {"tpc", "0pc0022ignored p:mi"},    {"tcp", "0cp0022ignored"},
        {"ptp", "pnp0022ignored t:m n:a"}, {"ctt", "cnn0022ignored t:m n:a"}, {"ppt", "ppp0022ignored p:mr"},
        {"pct", "pcn0022ignored n:ar"},    {"cct", "ccn0022ignored"},         {"fpf", "fpf0022ignored p:m"},
        {"ccc", "ccc0022ignored"},
    };
    const WorkDir dir;
    std::filesystem::current_path(dir.Path());
    std::filesystem::create_symlink("/bin/sh", "sh");
    for (const auto& c : cases) {
        EXPECT_EQ(RunDetached(c.streams), c.result) << c.streams;
        struct stat status;
        EXPECT_TRUE(stat("nohup.out", &status) != 0 || status.st_mode == (S_IFREG | 0600));
        for (const char* file : {"nohup.out", "f"}) { std::filesystem::remove(file); }
    }
    std::filesystem::create_directory("nohup.out");
    EXPECT_EQ(RunDetached("ttt"), "0tt0177 t:mae");
    std::filesystem::current_path("/");
}

TEST(ZQProcessTest, StartsProgramsWithTheirArguments) {
    const WorkDir dir;
    const std::string own = dir.Path("own");
    std::ofstream(own) << "#!/bin/sh\nexit $#\n";
    chmod(own.c_str(), 0700);
    std::vector<const char*> arguments(128, "x");
    const auto start = [&](const char* path, int argc) { return ZQOpenProcess(path, true, argc, arguments.data()); };
    for (const int argc : {0, 1, 127}) { EXPECT_EQ(StatusOf(start(own.c_str(), argc)), argc); }
    EXPECT_EQ(StatusOf(start(own.c_str(), -1)), 0);
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(start("true", 128), -1); }), "ZQOpenProcess: argc >= 128. \n");
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(start(nullptr, 0), -1); }), "ZQOpenProcess: The path is null.\n");
    InThreads(4, [](int) {
        for (int i = 0; i < 10; ++i) { EXPECT_EQ(StatusOf(ZQOpenProcess("/none", false, 0, nullptr)), 72); }
    });
}

TEST(ZQProcessTest, MarksAndReopensDescriptors) {
    const int fd = dup(0);
    const std::string output = OutputOf(_SetFD_CLOEXEC);
    EXPECT_NE(output.find("fcntl fd:" + std::to_string(fd) + " \n"), std::string::npos) << output;
    EXPECT_EQ(output.find("fd:0 "), std::string::npos) << output;
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fd_reopen(fd, "/none", O_RDONLY, 0), -1);
    EXPECT_EQ(fd_reopen(fd, "/dev/null", O_RDONLY, 0), fd);
    EXPECT_EQ(fcntl(fd + 1, F_GETFD), -1);  // the one between is closed
    close(fd);
    EXPECT_EQ(fd_reopen(fd, "/dev/null", O_RDONLY, 0), fd);
}

TEST(ZQProcessTest, EndsPolitelyAndFirmly) {
    const auto start = [](void (*onInterrupt)(int)) {
        signal(SIGINT, onInterrupt);  // the program starts with what its parent has
        const char* seconds[] = {"600"};
        return ZQOpenProcess("sleep", true, 1, seconds);
    };
    const long stubborn = start(SIG_IGN), polite = start(SIG_DFL), zombie = start(SIG_DFL);
    EXPECT_TRUE(ZQCloseProcess(polite, -1));
    EXPECT_FALSE(ZQIsProcessAlive(polite) || ZQCloseProcess(polite, -1) || ZQTerminateProcess(polite));
    EXPECT_FALSE(ZQCloseProcess(stubborn, 50));
    EXPECT_TRUE(ZQIsProcessAlive(stubborn) && ZQTerminateProcess(stubborn));
    while (ZQTerminateProcess(stubborn)) { ZQSleep(1); }  // reaped as soon as it has ended
    kill(static_cast<pid_t>(zombie), SIGKILL);
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT);
    EXPECT_TRUE(ZQIsProcessAlive(zombie));
    EXPECT_FALSE(ZQCloseProcess(zombie, 0));
    EXPECT_FALSE(ZQIsProcessAlive(zombie));  // reaped all the same

    for (const long pid : {-5L, 0L, INT_MAX + 1L, LONG_MIN}) {
        const std::string line = ": The process id " + std::to_string(pid) + " is invalid.\n";
        const auto callAll = [pid] {
            EXPECT_FALSE(ZQCloseProcess(pid, -2) || ZQTerminateProcess(pid) || ZQIsProcessAlive(pid));
        };
        EXPECT_EQ(OutputOf(callAll), "ZQCloseProcess" + line + "ZQTerminateProcess" + line + "ZQIsProcessAlive" + line);
    }
    EXPECT_EQ(OutputOf([] { ZQCloseProcess(getpid(), -2); }), "ZQCloseProcess: The timeout -2 is invalid.\n");
}
