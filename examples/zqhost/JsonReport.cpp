#include "HostFacts.h"

#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;

/// A figure that the system may not tell: null then.
Json Known(int64_t figure)
{
    return figure < 0 ? Json() : Json(figure);
}

Json ListOf(const std::vector<DiskFacts>& disks)
{
    Json list = Json::array();
    for (const DiskFacts& disk : disks)
    {
        list.push_back({{"mount_point", disk.strMountPoint}, {"total_bytes", disk.nTotal}, {"used_bytes", disk.nUsed}});
    }
    return list;
}

Json ListOf(const std::vector<AddressFacts>& addresses)
{
    Json list = Json::array();
    for (const AddressFacts& address : addresses)
    {
        list.push_back({{"address", address.strAddress}, {"mask", address.strMask}});
    }
    return list;
}
}  // namespace

std::string JsonReport(const HostFacts& facts)
{
    const ProcessFacts& process = facts.process;
    const Json report = {
        {"system",
         {{"version", facts.strSystem},
          {"processor", facts.strProcessor},
          {"processors", facts.nProcessors},
          {"memory_bytes", Known(facts.nMemoryBytes)},
          {"tick_ms", facts.nUpMs}}},
        {"disks", ListOf(facts.listDisks)},
        {"network",
         {{"addresses", ListOf(facts.listAddresses)},
          {"macs", facts.listMacs},
          {"remote", facts.strRemote},
          {"local_address", facts.strLocalIp}}},
        {"process",
         {{"name", process.strName},
          {"folder", process.strFolder},
          {"threads", Known(process.nThreads)},
          {"resident_bytes", Known(process.nResidentBytes)},
          {"virtual_bytes", Known(process.nVirtualBytes)},
          {"read_bytes", Known(process.nReadBytes)},
          {"written_bytes", Known(process.nWrittenBytes)},
          {"processor_percent", Known(process.nCpuPercent)}}},
        {"uuid", facts.strUuid},
    };
    // Names of files need not be text in any encoding; what is not UTF-8 is replaced, so that the result is JSON.
    return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
