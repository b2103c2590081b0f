#ifndef ZQFUZZ_FUZZ_H
#define ZQFUZZ_FUZZ_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

/// What libFuzzer calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the process, which the fuzzer reports with the input, unless @p holds.
inline void Require(bool holds, const char* what)
{
    if (!holds)
    {
        std::fprintf(stderr, "required: %s\n", what);
        std::abort();
    }
}

/// The bytes as a text, on the heap, so that a read behind its end is found out.
inline std::string TextOf(const uint8_t* data, size_t size)
{
    return std::string(reinterpret_cast<const char*>(data), size);
}

/// A file in memory that stands for one of `/proc`.
class FuzzFile
{
public:
    FuzzFile() : m_nFile(memfd_create("fuzz", MFD_CLOEXEC)), m_strPath("/proc/self/fd/" + std::to_string(m_nFile))
    {
    }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;

    /// Makes @p data its contents. @return its path
    const char* Hold(const uint8_t* data, size_t size)
    {
        Require(ftruncate(m_nFile, 0) == 0 && pwrite(m_nFile, data, size, 0) == static_cast<ssize_t>(size), "a file");
        return m_strPath.c_str();
    }

private:
    int m_nFile;
    std::string m_strPath;
};

#endif
