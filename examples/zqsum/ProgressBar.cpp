#include "ProgressBar.h"

#include "ByteText.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
constexpr int DrawEveryMs = 100;
constexpr size_t WidestBar = 30;
constexpr size_t MarkWidth = 3;
constexpr char EraseRest[] = "\033[K";  // of the line
constexpr size_t EchoWidth = 3;  // left free for the "^C" of an interrupt: a line that wraps cannot be overwritten
constexpr size_t DefaultColumns = 80;

size_t TerminalColumns()
{
    winsize size;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : DefaultColumns;
}

/// "[===>    ]" when all files are known, before that "[   ===  ]" with the mark going to and fro.
std::string BarText(const JobProgress& progress, size_t width, unsigned int step)
{
    std::string bar(width, ' ');
    if (!progress.bComplete)
    {
        const size_t range = width - MarkWidth;
        const size_t position = step % (2 * range);
        bar.replace(position < range ? position : 2 * range - position, MarkWidth, MarkWidth, '=');
    }
    else if (progress.nFound > 0)
    {
        const double share = static_cast<double>(progress.nFinished) / static_cast<double>(progress.nFound);
        const size_t filled = static_cast<size_t>(share * static_cast<double>(width));
        bar.replace(0, filled, filled, '=');
    }
    return "[" + bar + "] ";
}

std::string CountText(const JobProgress& progress, unsigned long ms)
{
    return std::to_string(progress.nFinished) + "/" + std::to_string(progress.nFound) +
           (progress.bComplete ? " files, " : "+ files, ") + ByteText(progress.nBytes) + ", " +
           RateText(progress.nBytes, ms);
}
}  // namespace

ProgressBar::ProgressBar(const HashJob& job, bool bEnabled)
    : m_job(job), m_bTimers(bEnabled && isatty(STDERR_FILENO) == 1 && ZQTimer::ModuleInit(1)), m_nDrawn(0), m_timer(0)
{
    if (m_bTimers)
    {
        m_timer.Init(DrawEveryMs, OnTimer, this);
        m_timer.Start(false);
    }
}

ProgressBar::~ProgressBar()
{
    Clear();
    if (m_bTimers)
    {
        ZQTimer::ModuleUninit();
    }
}

void ProgressBar::Clear()
{
    m_timer.Stop(true);
    if (m_nDrawn > 0)
    {
        fprintf(stderr, "\r%s", EraseRest);
        m_nDrawn = 0;
    }
}

void ProgressBar::OnTimer(ZQTimer&, void* bar)
{
    static_cast<ProgressBar*>(bar)->Draw();
}

void ProgressBar::Draw()
{
    const JobProgress progress = m_job.GetProgress();
    std::string line = CountText(progress, m_meterTotal.GetElapsed());
    const size_t columns = std::max(TerminalColumns(), EchoWidth + 1) - EchoWidth;
    const size_t spare = columns - std::min(columns, line.size() + 3);
    if (spare > 2 * MarkWidth)
    {
        line.insert(0, BarText(progress, std::min(spare, WidestBar), m_nDrawn));
    }
    line.resize(std::min(line.size(), columns));
    ++m_nDrawn;
    fprintf(stderr, "\r%s%s", line.c_str(), EraseRest);
}
