#ifndef ZQSUM_PROGRESSBAR_H
#define ZQSUM_PROGRESSBAR_H

#include "HashJob.h"
#include "ZQTime.h"

#include <string>

/// "8.9 GB", in decimal units.
std::string ByteText(uint64_t bytes);
/// "8.9 GB/s" for @p bytes in @p ms milliseconds.
std::string RateText(uint64_t bytes, unsigned long ms);

/// One line at the bottom of the terminal that shows how far a job has come: a mark that moves while files are still being
/// found, then a bar that fills. Threads: one at a time.
class ProgressBar
{
public:
    /// @param bEnabled  `false`: draws nothing. Nothing is drawn either where standard error is no terminal.
    explicit ProgressBar(bool bEnabled);

    /// Draws the line anew, but not more often than ten times a second: call it as often as you like.
    void Draw(const JobProgress& progress);
    /// Takes the line away.
    void Clear();

private:
    const bool m_bEnabled;
    ZQTimeMeter m_meterTotal;
    ZQTimeMeter m_meterDraw;
    unsigned int m_nDrawn;  // how many times
};

#endif
