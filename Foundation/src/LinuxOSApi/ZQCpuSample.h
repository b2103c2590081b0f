#ifndef ZQCPUSAMPLE_H
#define ZQCPUSAMPLE_H

#include <cstdint>

/// Times that have been used until a moment, in clock ticks. 0 is not known.
struct ZQCpuSample
{
    uint64_t nCpuTime;      ///< by all processors: user, nice, system and idle
    uint64_t nProcessTime;  ///< by the process: user and system
};

/// What came of a new sample.
enum class ZQCpuSampleResult
{
    First,     ///< It is kept; there was none to compare it with.
    NoTime,    ///< It is not kept: the processors' time has not moved.
    Compared,  ///< It is kept, and was compared with the one before.
};

/// The processors' time, of the first line of `/proc/stat`. Numbers that it lacks count as 0.
uint64_t ZQParseCpuTime(const char* line);

/// The process's time, of the line of its `stat` file. 0 if the name of its program holds a blank.
uint64_t ZQParseProcessTime(const char* line);

/// Puts @p sample in the place of @p last, where that is due.
/// @param percent  receives the process's share of one processor, if they were compared
ZQCpuSampleResult ZQTakeCpuSample(ZQCpuSample& last, const ZQCpuSample& sample, int processors, int64_t& percent);

#endif
