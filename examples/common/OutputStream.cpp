#include "OutputStream.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr size_t FlushSize = 64UL * 1024;
constexpr int FirstPrivateDescriptor = 3;
}  // namespace

OutputStream::OutputStream()
    : m_fd(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, FirstPrivateDescriptor)), m_nError(m_fd == -1 ? errno : 0)
{
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere != -1 && nowhere != STDOUT_FILENO)
    {
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
}

OutputStream::~OutputStream()
{
    Close();
}

void OutputStream::Write(const std::string& text)
{
    m_strBuffer += text;
    if (m_strBuffer.size() >= FlushSize)
    {
        Flush();
    }
}

int OutputStream::Close()
{
    Flush();
    if (m_fd != -1 && close(m_fd) != 0 && m_nError == 0)
    {
        m_nError = errno;  // some file systems tell only now that there is no room
    }
    m_fd = -1;
    return m_nError;
}

void OutputStream::Flush()
{
    size_t done = 0;
    while (m_nError == 0 && done < m_strBuffer.size())
    {
        const ssize_t written = write(m_fd, m_strBuffer.data() + done, m_strBuffer.size() - done);
        if (written >= 0)
        {
            done += static_cast<size_t>(written);
        }
        else if (errno != EINTR)
        {
            m_nError = errno;
        }
    }
    m_strBuffer.clear();
}
