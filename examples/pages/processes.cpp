// A child that is started, looked for and ended. Starting one prints a line for each descriptor that it does not get.

#include <ZQOSApi.h>

#include <cstdio>
#include <sys/wait.h>

int main()
{
    const char* seconds[] = {"60"};
    const long sleeper = ZQOpenProcess("sleep", true, 1, seconds);
    std::printf("started: %s\n", ZQIsProcessAlive(sleeper) ? "yes" : "no");
    std::printf("ended: %s\n", ZQCloseProcess(sleeper, 10000) ? "yes" : "no");  // its status is lost
    std::printf("alive: %s\n", ZQIsProcessAlive(sleeper) ? "yes" : "no");

    const long missing = ZQOpenProcess("/nowhere/program", true, 0, nullptr);
    int status = 0;
    waitpid(static_cast<pid_t>(missing), &status, 0);  // so who wants the status waits himself
    std::printf("exit status: %d\n", WEXITSTATUS(status));
}

// prints:
// fcntl fd:...
// started: yes
// ended: yes
// alive: no
// fcntl fd:...
// exit status: 72
