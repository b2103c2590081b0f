#ifndef ZQPROCFILE_H
#define ZQPROCFILE_H

#include <cstddef>

/// A file of `/proc`, or a text that stands for one, read once from its start to its end. Reads go on after a signal, and a
/// program that is started meanwhile does not inherit the file. Neither allocates nor prints.
class ZQProcFile
{
public:
    /// Opens @p path; IsOpen() tells whether that went well, else `errno` tells why.
    explicit ZQProcFile(const char* path);
    ~ZQProcFile();
    ZQProcFile(const ZQProcFile&) = delete;
    ZQProcFile& operator=(const ZQProcFile&) = delete;

    bool IsOpen() const
    {
        return m_nFile >= 0;
    }

    /// Reads a line with its line feed. Of a line that does not fit, what fits; the rest counts as the next line.
    /// @param text  receives at most @p size - 1 bytes and a null character
    /// @return `false` if nothing is left, or nothing can be read: @p text is then empty
    bool ReadLine(char* text, size_t size);
    template <size_t Size> bool ReadLine(char (&text)[Size])
    {
        return ReadLine(text, Size);
    }

    /// Reads what is left, as far as it fits.
    /// @param text  receives at most @p size - 1 bytes and a null character
    /// @return the number of bytes
    size_t ReadRest(char* text, size_t size);

    /// Whether a read has met the end: a line that was cut short by it has no line feed.
    bool IsAtEnd() const
    {
        return m_bEnd;
    }

private:
    bool ReadBlock();

    int m_nFile;
    bool m_bEnd;
    size_t m_nNext;   // in the block
    size_t m_nBytes;  // of the block
    char m_szBlock[4096];
};

#endif
