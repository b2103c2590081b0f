#include "ByteText.h"
#include "HostFacts.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace
{
constexpr size_t BarWidth = 20;

/// Appends a line, formatted as by `printf(3)`.
__attribute__((format(printf, 2, 3))) void AddLine(std::string& text, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    char* line = nullptr;
    if (vasprintf(&line, format, args) != -1)
    {
        text.append(line).append("\n");
        free(line);
    }
    va_end(args);
}

std::string Bar(uint64_t used, uint64_t total)
{
    const double share = static_cast<double>(used) / static_cast<double>(total);
    const size_t filled = std::min(BarWidth, static_cast<size_t>(std::lround(share * BarWidth)));
    return "[" + std::string(filled, '=') + std::string(BarWidth - filled, ' ') + "]";
}

/// "2 d 3 h 4 min".
std::string DurationText(uint64_t ms)
{
    const uint64_t minutes = ms / 60000;
    std::string text = std::to_string(minutes % 60) + " min";
    if (minutes >= 60)
    {
        text.insert(0, std::to_string(minutes / 60 % 24) + " h ");
    }
    if (minutes >= 24UL * 60)
    {
        text.insert(0, std::to_string(minutes / 60 / 24) + " d ");
    }
    return text;
}

std::string KnownBytes(int64_t bytes)
{
    return bytes < 0 ? "not told" : ByteText(static_cast<uint64_t>(bytes));
}

void AddDisks(std::string& text, const std::vector<DiskFacts>& disks)
{
    size_t width = 0;
    for (const DiskFacts& disk : disks)
    {
        width = std::max(width, disk.strMountPoint.size());
    }
    text += "Disks\n";
    for (const DiskFacts& disk : disks)
    {
        AddLine(text, "  %-*s  %s  %s of %s", static_cast<int>(width), disk.strMountPoint.c_str(),
                Bar(disk.nUsed, disk.nTotal).c_str(), ByteText(disk.nUsed).c_str(), ByteText(disk.nTotal).c_str());
    }
}

void AddNetwork(std::string& text, const HostFacts& facts)
{
    text += "Network\n";
    for (const AddressFacts& address : facts.listAddresses)
    {
        AddLine(text, "  address    %s, mask %s", address.strAddress.c_str(), address.strMask.c_str());
    }
    for (const std::string& mac : facts.listMacs)
    {
        AddLine(text, "  MAC        %s", mac.c_str());
    }
    if (!facts.strRemote.empty())
    {
        AddLine(text, "  towards %s: %s, as a guess", facts.strRemote.c_str(),
                facts.strLocalIp.empty() ? "no address" : facts.strLocalIp.c_str());
    }
}
}  // namespace

std::string TextReport(const HostFacts& facts)
{
    std::string text = "System\n";
    AddLine(text, "  system     %s", facts.strSystem.c_str());
    AddLine(text, "  processor  %s, %d online",
            facts.strProcessor.empty() ? "model not told" : facts.strProcessor.c_str(), facts.nProcessors);
    AddLine(text, "  memory     %s", KnownBytes(facts.nMemoryBytes).c_str());
    AddLine(text, "  up         %s (tick %llu ms)", DurationText(facts.nUpMs).c_str(),
            static_cast<unsigned long long>(facts.nUpMs));
    AddDisks(text, facts.listDisks);
    AddNetwork(text, facts);
    const ProcessFacts& process = facts.process;
    text += "This process\n";
    AddLine(text, "  program    %s in %s", process.strName.c_str(), process.strFolder.c_str());
    AddLine(text, "  threads    %s", process.nThreads < 0 ? "not told" : std::to_string(process.nThreads).c_str());
    AddLine(text, "  memory     %s resident, %s virtual", KnownBytes(process.nResidentBytes).c_str(),
            KnownBytes(process.nVirtualBytes).c_str());
    AddLine(text, "  disk       %s read, %s written", KnownBytes(process.nReadBytes).c_str(),
            KnownBytes(process.nWrittenBytes).c_str());
    AddLine(text, "  processor  %s",
            process.nCpuPercent < 0 ? "not told" : (std::to_string(process.nCpuPercent) + " % of one").c_str());
    AddLine(text, "A fresh UUID\n  %s", facts.strUuid.c_str());
    return text;
}
