#ifndef ZQEXAMPLES_OUTPUTSTREAM_H
#define ZQEXAMPLES_OUTPUTSTREAM_H

#include <string>

/// Standard output for this program's own text, gathered into large writes.
///
/// The library notes some things on standard output, such as a worker that leaves for idleness, which have no place in a
/// program's results: while this object exists, what others write there is dropped.
class OutputStream
{
public:
    OutputStream();
    ~OutputStream();
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Adds @p text; nothing more is written once a write has failed.
    void Write(const std::string& text);
    /// Writes what is left. @return 0, or the errno value of the first failure
    int Close();

private:
    void Flush();

    int m_fd;
    int m_nError;
    std::string m_strBuffer;
};

#endif
