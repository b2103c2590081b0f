#include "ZQOSApi.h"

#include "ZQCheck.h"
#include "ZQNetAddress.h"
#include "ZQOSResult.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
static_assert(sizeof(ZQIFAddrRecord) == 385 && sizeof(ZQMacAddrRecord) == 129, "callers step by these widths");

constexpr int SpareRecords = 32;
constexpr char AnyAddress[] = "0.0.0.0";
// The mask is no netmask, but what callers know.
constexpr ZQIFAddrRecord AddedLoopback = {0, "127.0.0.1", "127.0.0.1", ""};
constexpr char NoHardwareAddress[] = "00-00-00-00-00-00";

using MacText = char[sizeof(ZQMacAddrRecord::szMac)];

bool IsIPv4(const ifaddrs& entry)
{
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET;
}

/// How many records the addresses of a table may need.
int CountCandidates(const ifaddrs* table)
{
    int count = 0;
    for (const ifaddrs* entry = table; entry != nullptr; entry = entry->ifa_next)
    {
        count += entry->ifa_addr == nullptr || IsIPv4(*entry) ? 1 : 0;
    }
    return count;
}

int CountEntries(const ifaddrs* table)
{
    int count = 0;
    for (const ifaddrs* entry = table; entry != nullptr; entry = entry->ifa_next)
    {
        ++count;
    }
    return count;
}

template <class Record> Record* CallocRecords(int count)
{
    return static_cast<Record*>(std::calloc(static_cast<size_t>(count), sizeof(Record)));
}

template <size_t Size> void WriteAddress(const sockaddr* address, char (&text)[Size])
{
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, Size);
}

ZQIFAddrRecord RecordOf(const ifaddrs& entry)
{
    ZQIFAddrRecord record{};
    WriteAddress(entry.ifa_addr, record.szAddr);
    if (entry.ifa_netmask != nullptr)
    {
        WriteAddress(entry.ifa_netmask, record.szMask);
    }
    return record;
}

/// Fills @p records from @p table. @return how many
int FillAddresses(const ifaddrs* table, ZQIFAddrRecord* records, int capacity)
{
    int count = 0;
    bool hasLoopback = false;
    for (const ifaddrs* entry = table; entry != nullptr && count < capacity; entry = entry->ifa_next)
    {
        if (!IsIPv4(*entry))
        {
            continue;
        }
        const ZQIFAddrRecord record = RecordOf(*entry);
        if (ZQIsAddressText(record.szAddr) && std::strcmp(record.szAddr, AnyAddress) != 0)
        {
            hasLoopback = hasLoopback || std::strcmp(record.szAddr, ZQLoopbackAddress) == 0;
            records[count++] = record;
        }
    }
    if (!hasLoopback && count < capacity)
    {
        records[count++] = AddedLoopback;
    }
    return count;
}

/// @return `false` after a line on standard output if the system does not tell the address of the interface
bool ReadHardwareAddress(int probe, const char* name, MacText& text)
{
    ifreq request{};
    std::strncpy(request.ifr_name, name, sizeof(request.ifr_name) - 1);
    if (ioctl(probe, SIOCGIFHWADDR, &request) != 0)
    {
        std::puts("ZQGetMacAddrLists() ioctl() SIOCGIFHWADDR fail! ");
        return false;
    }
    unsigned char b[6];  // the bytes of the request are characters, signed on some machines
    std::memcpy(b, request.ifr_hwaddr.sa_data, sizeof(b));
    std::memset(text, 0, sizeof(text));
    std::snprintf(text, sizeof(text) - 1, "%02x-%02x-%02x-%02x-%02x-%02x", b[0], b[1], b[2], b[3], b[4], b[5]);
    return true;
}

/// What a listing of hardware addresses holds until it is done.
struct HardwareScan
{
    int probe;
    ifaddrs* table;
    ZQMacAddrRecord* records;

    void CloseSources()
    {
        close(probe);
        freeifaddrs(table);
    }
    void EndWithoutMemory()
    {
        std::puts("ZQGetMacAddrLists() malloc() fail! ");
        CloseSources();
        OSApiCheck.CrashUnless(false, "0", 1117);
    }
    void EndWithoutRoom()
    {
        std::puts("ZQGetMacAddrLists() nMacAddrIndex >= nAddr ! ");
        CloseSources();
        std::free(records);
        OSApiCheck.CrashUnless(false, "0", 1131);
    }
    void AllocateRecords(int capacity)
    {
        records = CallocRecords<ZQMacAddrRecord>(capacity);
        if (records == nullptr && table != nullptr)
        {
            EndWithoutMemory();
        }
        if (records == nullptr)
        {
            EndWithoutRoom();  // of an empty table it is always that report
        }
    }
    /// An interface with several addresses is in the table several times.
    bool IsListed(const MacText& text, int count) const
    {
        return std::any_of(records, records + count,
                           [&text](const ZQMacAddrRecord& record) { return std::strcmp(record.szMac, text) == 0; });
    }
    int FillRecords(int capacity)
    {
        int count = 0;
        for (const ifaddrs* entry = table; entry != nullptr; entry = entry->ifa_next)
        {
            if (count >= capacity)
            {
                EndWithoutRoom();
            }
            MacText text;
            if (entry->ifa_name != nullptr && ReadHardwareAddress(probe, entry->ifa_name, text) &&
                std::strcmp(text, NoHardwareAddress) != 0 && !IsListed(text, count))
            {
                records[count].bValid = 1;
                std::memcpy(records[count].szMac, text, sizeof(text));
                ++count;
            }
        }
        return count;
    }
};
}  // namespace

int ZQGetIFAddrLists(ZQIFAddrRecord** list)
{
    *list = nullptr;
    ifaddrs* table = nullptr;
    if (getifaddrs(&table) != 0)
    {
        return ZQResultFailed;
    }
    const int capacity = SpareRecords + CountCandidates(table);
    ZQIFAddrRecord* records = CallocRecords<ZQIFAddrRecord>(capacity);
    OSApiCheck.CrashUnless(records != nullptr, "0", 914);
    const int count = FillAddresses(table, records, capacity);
    freeifaddrs(table);
    *list = records;
    return count;
}

void ZQFreeIFAddrLists(ZQIFAddrRecord* list)
{
    std::free(list);
}

int ZQGetMacAddrLists(ZQMacAddrRecord** list)
{
    *list = nullptr;
    HardwareScan scan{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), nullptr, nullptr};
    if (scan.probe == -1)
    {
        std::puts("ZQGetMacAddrLists() socket() fail! ");
        return ZQResultFailed;
    }
    if (getifaddrs(&scan.table) != 0)
    {
        std::puts("ZQGetMacAddrLists() getifaddrs() fail! ");
        return ZQResultFailed;  // the probe stays open, as documented
    }
    const int capacity = SpareRecords + CountEntries(scan.table);
    scan.AllocateRecords(capacity);
    const int count = scan.FillRecords(capacity);
    scan.CloseSources();
    *list = scan.records;
    return count;
}

void ZQFreeMacAddrLists(ZQMacAddrRecord* list)
{
    std::free(list);
}
