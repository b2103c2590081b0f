#ifndef ZQPROCTEXT_H
#define ZQPROCTEXT_H

#include <cstddef>
#include <cstdint>

/// @file
/// What the files of `/proc` say. The functions take the file, or its text, from their caller, so that any text will do.

class ZQProcFile;

/// The path of a file that `/proc` has of the calling process.
struct ZQProcPath
{
    /// @param name  of the file, as "stat"
    explicit ZQProcPath(const char* name);

    char szText[256];
};

/// The line of "key: value" files: a line feed and a null character included. What is longer is taken in pieces, each as if it
/// were a line.
constexpr size_t ZQProcValueLine = 2047;

constexpr size_t ZQCpuVersionSize = 1024;  ///< of the text and its null character
constexpr size_t ZQProcessNameSize = 512;  ///< of the text and its null character

/// The text behind the last ":" of @p line; null if the line does not hold both @p key and a ":".
const char* ZQProcValue(const char* line, const char* key);

/// Reads @p file up to the first line that ZQProcValue() takes.
/// @param line  receives that line
/// @return its value, in @p line; null if there is none
const char* ZQFindProcValue(ZQProcFile& file, const char* key, char (&line)[ZQProcValueLine]);

/// Both sizes in KiB, of the text of a `statm` file, which counts pages.
/// @return `false` if it is not seven numbers: then nothing is written
bool ZQParseMemoryStatus(const char* text, int pageSize, int64_t* residentKiB, int64_t* virtualKiB);

/// The number of threads that a `status` file tells; 0 if it tells none.
int ZQReadThreadNum(ZQProcFile& status);

/// Reads both counters of an `io` file. A pointer is left alone if it is null or the file does not have its counter.
void ZQReadDiskIOBytes(ZQProcFile& io, uint64_t* readBytes, uint64_t* writeBytes);

/// The model that a `cpuinfo` file tells first, as it stands there; empty if it tells none.
/// @return `false`, after a line on standard output, if the file cannot be opened
bool ZQReadCpuVersion(const char* path, char (&text)[ZQCpuVersionSize]);

/// The last part of the path that a symbolic link holds.
/// @return `false`, after a line on standard output, if it is no link or an empty one
bool ZQReadProcessName(const char* link, char (&name)[ZQProcessNameSize]);

#endif
