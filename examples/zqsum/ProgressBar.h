#ifndef ZQSUM_PROGRESSBAR_H
#define ZQSUM_PROGRESSBAR_H

#include "HashJob.h"
#include "ZQTime.h"

/// One line at the bottom of the terminal that shows how far a job has come: a mark that moves while files are still being
/// found, then a bar that fills. A timer draws it ten times a second.
///
/// Threads: its owner's makes and clears it; the timer's worker draws, and nobody else may write to standard error meanwhile.
class ProgressBar
{
public:
    /// Shows @p job, which must outlive this, until Clear().
    /// @param bEnabled  `false`: draws nothing. Nothing is drawn either where standard error is no terminal.
    ProgressBar(const HashJob& job, bool bEnabled);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Stops drawing and takes the line away.
    void Clear();

private:
    static void OnTimer(ZQTimer& timer, void* bar);
    void Draw();

    const HashJob& m_job;
    const bool m_bTimers;  // whether the timer module runs for this
    const ZQTimeMeter m_meterTotal;
    unsigned int m_nDrawn;  // how many times
    ZQTimer m_timer;
};

#endif
