#include "Report.h"

#include "ByteText.h"

#include <cstdio>
#include <cstring>

namespace
{
/// A path on one line. @return whether something had to be escaped
bool AppendEscaped(std::string& line, const std::string& path)
{
    if (path.find_first_of("\\\n\r") == std::string::npos)
    {
        line += path;
        return false;
    }
    for (const char c : path)
    {
        switch (c)
        {
        case '\\': line += "\\\\"; break;
        case '\n': line += "\\n"; break;
        case '\r': line += "\\r"; break;
        default: line += c;
        }
    }
    return true;
}

/// The line of a file: digest, two spaces, path; a "\" in front says that the path is escaped.
void MakeLine(std::string& line, const FileEntry& entry)
{
    static const char digits[] = "0123456789abcdef";
    line.clear();
    for (const unsigned char byte : entry.digest)
    {
        line += digits[byte >> 4];
        line += digits[byte & 15];
    }
    line += "  ";
    if (AppendEscaped(line, entry.strPath))
    {
        line.insert(0, 1, '\\');
    }
    line += '\n';
}
}  // namespace

Totals WriteResults(const HashJob& job, OutputStream& output)
{
    Totals totals;
    std::string line;
    for (const FileEntry* pEntry : job.GetSorted())
    {
        if (pEntry->state == FileEntry::Done)
        {
            ++totals.nHashed;
            MakeLine(line, *pEntry);
            output.Write(line);
        }
        else if (pEntry->state == FileEntry::Failed)
        {
            ++totals.nFailed;
            WriteError(pEntry->strPath, pEntry->nError);
        }
    }
    return totals;
}

void WriteSummary(const Totals& totals, uint64_t bytes, unsigned long ms, bool bInterrupted)
{
    fprintf(stderr, "zqsum: %ld files, %s in %.1f s (%s), %ld failed%s\n", totals.nHashed, ByteText(bytes).c_str(),
            static_cast<double>(ms) / 1000, RateText(bytes, ms).c_str(), totals.nFailed,
            bInterrupted ? ", interrupted" : "");
}

void WriteError(const std::string& subject, int error)
{
    std::string text;
    AppendEscaped(text, subject);
    fprintf(stderr, "zqsum: %s: %s\n", text.c_str(), strerror(error));
}
