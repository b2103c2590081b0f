#ifndef ZQSUM_REPORT_H
#define ZQSUM_REPORT_H

#include "HashJob.h"
#include "OutputStream.h"

/// What became of a job's files.
struct Totals
{
    long nHashed = 0;
    long nFailed = 0;
};

/// Writes a line to @p output for each file that was hashed, as sha256sum does, and one to standard error for each that
/// could not be read.
Totals WriteResults(const HashJob& job, OutputStream& output);
/// Writes a line to standard error: what was done, in @p ms milliseconds.
void WriteSummary(const Totals& totals, uint64_t bytes, unsigned long ms, bool bInterrupted);
/// Writes "zqsum: SUBJECT: REASON" to standard error, the reason that of the errno value @p error.
void WriteError(const std::string& subject, int error);

#endif
