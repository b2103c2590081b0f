#include "FileHash.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr size_t BufferSize = 128UL * 1024;

/// A file open for reading.
class OpenFile
{
public:
    /// Without waiting, which some files of the kernel that pass for regular ones would do for ever.
    OpenFile(const char* path, bool bFollow)
        : m_fd(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | (bFollow ? 0 : O_NOFOLLOW)))
    {
    }
    ~OpenFile()
    {
        if (m_fd != -1)
        {
            close(m_fd);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int Descriptor() const
    {
        return m_fd;
    }

private:
    const int m_fd;
};

void SetFailed(FileEntry& entry, int error)
{
    entry.state = FileEntry::Failed;
    entry.nError = error;
}
}  // namespace

FileHash::FileHash(const EVP_MD* pMethod)
    : m_pMethod(pMethod), m_pContext(EVP_MD_CTX_new()), m_pBuffer(new unsigned char[BufferSize])
{
}

void FileHash::Run(FileEntry& entry, std::atomic<uint64_t>& bytes)
{
    const OpenFile file(entry.strPath.c_str(), entry.bFollow);
    struct stat status;
    if (file.Descriptor() == -1 && errno == ELOOP && !entry.bFollow)
    {
        entry.state = FileEntry::Skipped;  // a link, whatever the walk took it for
        return;
    }
    if (file.Descriptor() == -1 || fstat(file.Descriptor(), &status) != 0)
    {
        SetFailed(entry, errno);
        return;
    }
    if (!S_ISREG(status.st_mode))
    {
        entry.state = FileEntry::Skipped;
        return;
    }
    const int error = Read(file.Descriptor(), static_cast<uint64_t>(status.st_size), bytes);
    if (error != 0)
    {
        SetFailed(entry, error);
    }
    else if (EVP_DigestFinal_ex(m_pContext.get(), entry.digest.data(), nullptr) != 1)
    {
        SetFailed(entry, EIO);
    }
    else
    {
        entry.state = FileEntry::Done;
    }
}

/// Feeds all that can be read to the context. @return 0 or the error
int FileHash::Read(int fd, uint64_t size, std::atomic<uint64_t>& bytes)
{
    if (EVP_DigestInit_ex2(m_pContext.get(), m_pMethod, nullptr) != 1)
    {
        return ENOMEM;
    }
    if (size > BufferSize)
    {
        posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    uint64_t total = 0;
    for (;;)
    {
        const ssize_t got = read(fd, m_pBuffer.get(), BufferSize);
        if (got < 0 && errno == EINTR)
        {
            continue;
        }
        if (got <= 0)
        {
            return got == 0 ? 0 : errno;
        }
        const size_t length = static_cast<size_t>(got);
        if (EVP_DigestUpdate(m_pContext.get(), m_pBuffer.get(), length) != 1)
        {
            return EIO;
        }
        total += length;
        bytes.fetch_add(length, std::memory_order_relaxed);
        if (length < BufferSize && total == size)
        {
            return 0;  // a short read that ends where the file does: another one would only say so
        }
    }
}
