// Prints the SHA-256 of every file of a tree: the directories are walked by this thread, the files hashed on a task pool.

#include "HashJob.h"
#include "Interrupt.h"
#include "Options.h"
#include "OutputStream.h"
#include "ProgressBar.h"
#include "Report.h"
#include "TreeWalk.h"
#include "ZQTime.h"

#include <cstdio>
#include <exception>

namespace
{
enum : int
{
    ExitDone = 0,
    ExitFailed = 1,
    ExitInterrupted = 130
};

void WalkAll(const std::vector<std::string>& dirs, HashJob& job)
{
    TreeWalk walk(job);
    for (const std::string& dir : dirs)
    {
        if (!walk.Walk(dir))
        {
            break;
        }
    }
    job.Finish();
}

int Run(const Options& options)
{
    const ZQTimeMeter meter;
    OutputStream output;
    HashJob job(options.nSlots, [] { return !Interrupt::Requested(); });
    ProgressBar bar(job, !options.bQuiet);
    Interrupt::Catch();
    WalkAll(options.listDirs, job);
    Interrupt::Release();
    bar.Clear();

    const bool bInterrupted = Interrupt::Requested();
    const unsigned long ms = meter.GetElapsed();
    const Totals totals = WriteResults(job, output);
    const int error = output.Close();
    if (error != 0)
    {
        WriteError("standard output", error);
    }
    if (!options.bQuiet)
    {
        WriteSummary(totals, job.GetProgress().nBytes, ms, bInterrupted);
    }
    if (bInterrupted)
    {
        return ExitInterrupted;
    }
    return error != 0 || totals.nFailed > 0 ? ExitFailed : ExitDone;
}
}  // namespace

int main(int argc, char** argv)
{
    Options options;
    int exitCode = ExitDone;
    if (!ParseOptions(argc, argv, options, exitCode))
    {
        return exitCode;
    }
    try
    {
        return Run(options);
    }
    catch (const std::exception& error)
    {
        fprintf(stderr, "zqsum: %s\n", error.what());
        return ExitFailed;
    }
}
