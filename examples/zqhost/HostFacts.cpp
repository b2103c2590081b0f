#include "HostFacts.h"

#include "ZQOSApi.h"
#include "ZQTime.h"

#include <algorithm>
#include <ctime>
#include <memory>

namespace
{
constexpr int SampleMs = 500;
constexpr size_t AddressSize = 128;
constexpr size_t UuidSize = 37;

/// @p text without white space around it: the processor's model comes as the rest of its line.
std::string Trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\n");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

bool AddDisk(const _ZQStruFileInfo& info, void* list)
{
    auto& disks = *static_cast<std::vector<DiskFacts>*>(list);
    uint64_t total = 0;
    uint64_t used = 0;
    uint64_t free = 0;
    const auto known = [&info](const DiskFacts& disk) { return disk.strMountPoint == info.pszPath; };
    if (std::none_of(disks.begin(), disks.end(), known) && ZQGetSpaceSize(info.pszPath, &total, &used, &free) == 0 &&
        total > 0)
    {
        disks.push_back(DiskFacts{info.pszPath, total, used});
    }
    return true;
}

std::vector<AddressFacts> GatherAddresses()
{
    ZQIFAddrRecord* records = nullptr;
    const int count = ZQGetIFAddrLists(&records);
    const std::unique_ptr<ZQIFAddrRecord, void (*)(ZQIFAddrRecord*)> owner(records, ZQFreeIFAddrLists);
    std::vector<AddressFacts> list;
    list.reserve(static_cast<size_t>(std::max(count, 0)));
    for (int i = 0; i < count; ++i)
    {
        list.push_back(AddressFacts{records[i].szAddr, records[i].szMask});
    }
    return list;
}

std::vector<std::string> GatherMacs()
{
    ZQMacAddrRecord* records = nullptr;
    const int count = ZQGetMacAddrLists(&records);
    const std::unique_ptr<ZQMacAddrRecord, void (*)(ZQMacAddrRecord*)> owner(records, ZQFreeMacAddrLists);
    std::vector<std::string> list;
    list.reserve(static_cast<size_t>(std::max(count, 0)));
    for (int i = 0; i < count; ++i)
    {
        list.push_back(records[i].szMac);
    }
    return list;
}

std::string LocalIpTowards(const std::string& strRemote)
{
    char address[AddressSize] = {};
    return ZQGuessLocalIp(strRemote.empty() ? nullptr : strRemote.c_str(), address) ? address : "";
}

int64_t BytesOfKiB(int64_t kib)
{
    return kib < 0 ? -1 : kib * 1024;
}

ProcessFacts GatherProcess()
{
    ProcessFacts process = {};
    process.strName = ZQGetCurProcessName();
    process.strFolder = ZQGetApplicationPath();
    process.nThreads = ZQGetCurProcessThreadNum();
    int64_t resident = -1;
    int64_t virtualSize = -1;
    ZQGetAppMemoryStatus(&resident, &virtualSize);
    process.nResidentBytes = BytesOfKiB(resident);
    process.nVirtualBytes = BytesOfKiB(virtualSize);
    uint64_t readBytes = 0;
    uint64_t writtenBytes = 0;
    const bool bTold = ZQGetCurProcessDiskIOBytes(&readBytes, &writtenBytes) == 0;
    process.nReadBytes = bTold ? static_cast<int64_t>(readBytes) : -1;
    process.nWrittenBytes = bTold ? static_cast<int64_t>(writtenBytes) : -1;
    return process;
}

/// Takes the first of two samples. One of 0 ticks would not count as one, so some processor time is spent first.
void TakeFirstSample()
{
    for (const ZQTimeMeter meter; std::clock() < CLOCKS_PER_SEC / 50 && meter.GetElapsed() < SampleMs;)
    {
    }
    ZQGetCurProcessCpuUsage();
}
}  // namespace

HostFacts GatherFacts(const std::string& strRemote)
{
    TakeFirstSample();
    const ZQTimeMeter meter;
    HostFacts facts = {};
    facts.strSystem = ZQGetOSVersion();
    facts.strProcessor = Trimmed(ZQGetCPUVersion());
    facts.nProcessors = ZQGetCPUProcessorNumber();
    facts.nMemoryBytes = ZQGetTotalPhysicalMemory();
    facts.nUpMs = ZQDateTime::GetTickCount();
    ZQGetDiskList(AddDisk, &facts.listDisks);
    facts.listAddresses = GatherAddresses();
    facts.listMacs = GatherMacs();
    facts.strRemote = strRemote;
    facts.strLocalIp = LocalIpTowards(strRemote);
    facts.process = GatherProcess();
    char uuid[UuidSize] = {};
    facts.strUuid = ZQGenerateUUID(uuid);
    while (meter.GetElapsed() < SampleMs)
    {
        ZQSleep(10);
    }
    facts.process.nCpuPercent = ZQGetCurProcessCpuUsage();
    return facts;
}
