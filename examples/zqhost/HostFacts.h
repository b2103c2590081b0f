#ifndef ZQHOST_HOSTFACTS_H
#define ZQHOST_HOSTFACTS_H

#include <cstdint>
#include <string>
#include <vector>

/// A mounted disk; sizes in bytes.
struct DiskFacts
{
    std::string strMountPoint;
    uint64_t nTotal;
    uint64_t nUsed;
};

/// An IPv4 address of an interface.
struct AddressFacts
{
    std::string strAddress;
    std::string strMask;
};

/// The process that asks, as far as the system tells; -1 where it does not.
struct ProcessFacts
{
    std::string strName;
    std::string strFolder;
    int nThreads;
    int64_t nResidentBytes;
    int64_t nVirtualBytes;
    int64_t nReadBytes;
    int64_t nWrittenBytes;
    int64_t nCpuPercent;  ///< Of one processor, between two samples.
};

/// What the library can tell about the machine and this process.
struct HostFacts
{
    std::string strSystem;
    std::string strProcessor;  ///< Empty where the system names none, as on most arm64 machines.
    int nProcessors;
    int64_t nMemoryBytes;
    uint64_t nUpMs;
    std::vector<DiskFacts> listDisks;
    std::vector<AddressFacts> listAddresses;
    std::vector<std::string> listMacs;
    std::string strRemote;   ///< The host that was asked for; may be empty.
    std::string strLocalIp;  ///< The address used towards it; empty without one.
    ProcessFacts process;
    std::string strUuid;
};

/// Asks for all of it. Takes half a second, between the two samples of the process's share of the processors, and as long as
/// it takes to resolve a name.
/// @param strRemote  a host name or address, or empty
HostFacts GatherFacts(const std::string& strRemote);

/// The facts for a person.
std::string TextReport(const HostFacts& facts);
/// The facts for a program, as one JSON object.
std::string JsonReport(const HostFacts& facts);

#endif
