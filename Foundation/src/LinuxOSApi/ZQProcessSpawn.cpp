#include "ZQProcessSpawn.h"

#include "ZQDirStream.h"
#include "ZQOSApi.h"
#include "ZQOSResult.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{
constexpr char DescriptorDir[] = "/proc/self/fd";
constexpr mode_t OwnerReadsAndWrites = S_IRUSR | S_IWUSR;

/// Writes a message at once and past the buffer, whose lock another thread may have held at the fork.
template <size_t N> void Say(const char* const (&texts)[N])
{
    iovec parts[N];
    for (size_t i = 0; i < N; ++i)
    {
        parts[i] = {const_cast<char*>(texts[i]), strlen(texts[i])};
    }
    while (writev(STDOUT_FILENO, parts, N) == -1 && errno == EINTR)
    {
    }
}

/// What the standard streams are before they are changed.
struct Streams
{
    bool bInputTerminal;
    bool bOutputTerminal;
    bool bOutputClosed;
    bool bErrorTerminal;
};

Streams LookAtStreams()
{
    Streams streams;
    streams.bInputTerminal = isatty(STDIN_FILENO) != 0;
    streams.bOutputTerminal = isatty(STDOUT_FILENO) != 0;
    streams.bOutputClosed = !streams.bOutputTerminal && errno == EBADF;  // before the next call changes it
    streams.bErrorTerminal = isatty(STDERR_FILENO) != 0;
    return streams;
}

/// Makes reading from standard input fail. Close-on-exec ends with the duplication onto the descriptor.
bool DetachInput(const Streams& streams)
{
    if (fd_reopen(STDIN_FILENO, "/dev/null", O_WRONLY | O_CLOEXEC, 0) == -1)
    {
        Say({"_Mynohup() failed to render standard input unusable \n"});
        return false;
    }
    if (!streams.bOutputTerminal && !streams.bErrorTerminal)
    {
        Say({"_Mynohup() ignoring input \n"});
    }
    return true;
}

void SayOpenFailed(const char* szOutput, int error)
{
    char digits[16] = {};
    std::to_chars(digits, digits + sizeof(digits) - 1, error);
    Say({"failed to open ", szOutput, ",errno:", digits, " \n"});
}

/// Opens the output file, as standard output if that is a terminal. @return its descriptor, or -1 with the umask changed
int OpenOutput(const Streams& streams, const char* szOutput)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC;
    const mode_t previous = umask(~OwnerReadsAndWrites);
    const int fd = streams.bOutputTerminal ? fd_reopen(STDOUT_FILENO, szOutput, flags, OwnerReadsAndWrites)
                                           : open(szOutput, flags, OwnerReadsAndWrites);
    const int error = errno;
    Say({"appending output to ", szOutput, " \n"});
    if (fd == -1)
    {
        SayOpenFailed(szOutput, error);
        return -1;
    }
    umask(previous);
    return fd;
}

/// Sends standard error to where @p fd leads. The terminal stays open until the program starts, on a descriptor that the
/// program cannot take for a standard stream, even if one of those is closed.
void DetachError(const Streams& streams, int fd)
{
    (void)fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (!streams.bOutputTerminal)
    {
        Say({"redirecting stderr to stdout \n"});
    }
    if (dup2(fd, STDERR_FILENO) == -1)
    {
        Say({"failed to redirect standard error \n"});
    }
}

/// Marks @p fd close-on-exec. @return whether it could be
bool MarkDescriptor(int fd)
{
    const int flags = fcntl(fd, F_GETFD);
    // Most are marked already, at the latest by the start of a program before.
    return (flags != -1 && (flags & FD_CLOEXEC) != 0) || fcntl(fd, F_SETFD, flags | FD_CLOEXEC) != -1;
}
}  // namespace

std::string ZQNohupName(const char* path)
{
    return GetParentFolder(path) + "//" + "nohup.out";
}

int ZQDetachFromConsole(const char* szOutput)
{
    const Streams streams = LookAtStreams();
    if (streams.bInputTerminal && !DetachInput(streams))
    {
        return -1;
    }
    int fd = STDOUT_FILENO;
    if (streams.bOutputTerminal || (streams.bErrorTerminal && streams.bOutputClosed))
    {
        fd = OpenOutput(streams, szOutput);
        if (fd == -1)
        {
            return -1;
        }
    }
    if (streams.bErrorTerminal)
    {
        DetachError(streams, fd);
        if (streams.bOutputClosed)
        {
            close(fd);
        }
    }
    (void)signal(SIGHUP, SIG_IGN);
    return 0;
}

int fd_reopen(int fd, const char* path, int flags, unsigned int mode)
{
    const int opened = open(path, flags, mode);
    if (opened == -1 || opened == fd)
    {
        return opened;
    }
    const int result = dup2(opened, fd);
    const int error = errno;
    close(opened);
    errno = error;
    return result;
}

int _Mynohup(const char* path)
{
    return ZQUnlessNoMemory(-1, [path] {
        const std::string strOutput = ZQNohupName(path);
        fflush(stdout);  // what was printed before comes before what is written past the buffer
        return ZQDetachFromConsole(strOutput.c_str());
    });
}

void _SetFD_CLOEXEC()
{
    const ZQDirStream dir = ZQOpenDirAt(AT_FDCWD, DescriptorDir);
    if (dir == nullptr)
    {
        printf("Open dir:%s error... \n", DescriptorDir);
        return;
    }
    while (const dirent* const entry = ZQNextEntry(dir))
    {
        const int fd = atoi(entry->d_name);
        if (fd > STDERR_FILENO)
        {
            printf(MarkDescriptor(fd) ? "fcntl fd:%d \n" : "fcntl fail,fd:%d \n", fd);
        }
    }
}
