#include "ZQProcFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace
{
int OpenForReading(const char* path)
{
    int file;
    do
    {
        file = open(path, O_RDONLY | O_CLOEXEC);
    } while (file < 0 && errno == EINTR);
    return file;
}
}  // namespace

ZQProcFile::ZQProcFile(const char* path) : m_nFile(OpenForReading(path)), m_bEnd(false), m_nNext(0), m_nBytes(0)
{
}

ZQProcFile::~ZQProcFile()
{
    if (IsOpen())
    {
        close(m_nFile);
    }
}

bool ZQProcFile::ReadLine(char* text, size_t size)
{
    size_t length = 0;
    while (length < size - 1 && (m_nNext < m_nBytes || ReadBlock()))
    {
        const char* const start = m_szBlock + m_nNext;
        const size_t fits = std::min(m_nBytes - m_nNext, size - 1 - length);
        const void* const lineFeed = memchr(start, '\n', fits);
        const size_t taken =
            lineFeed != nullptr ? static_cast<size_t>(static_cast<const char*>(lineFeed) - start) + 1 : fits;
        memcpy(text + length, start, taken);
        length += taken;
        m_nNext += taken;
        if (lineFeed != nullptr)
        {
            break;
        }
    }
    text[length] = '\0';
    return length != 0;
}

size_t ZQProcFile::ReadRest(char* text, size_t size)
{
    size_t length = 0;
    while (length < size - 1 && (m_nNext < m_nBytes || ReadBlock()))
    {
        const size_t taken = std::min(m_nBytes - m_nNext, size - 1 - length);
        memcpy(text + length, m_szBlock + m_nNext, taken);
        length += taken;
        m_nNext += taken;
    }
    text[length] = '\0';
    return length;
}

bool ZQProcFile::ReadBlock()
{
    ssize_t bytes;
    do
    {
        bytes = read(m_nFile, m_szBlock, sizeof(m_szBlock));
    } while (bytes < 0 && errno == EINTR);
    // What cannot be read ends the file too, so that no reader goes round for ever.
    m_bEnd = bytes <= 0;
    m_nNext = 0;
    m_nBytes = m_bEnd ? 0 : static_cast<size_t>(bytes);
    return !m_bEnd;
}
