#include "ZQOSApi.h"

#include "ZQNetAddress.h"
#include "ZQOSResult.h"

#include <arpa/inet.h>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr size_t OutSize = sizeof(ZQIFAddrRecord::szAddr);
constexpr in_port_t ProbePort = 31111;
constexpr size_t FirstAnswerSize = 1024;
constexpr size_t LastAnswerSize = 1024 * FirstAnswerSize;  // no answer of a name server comes near

struct FreeList
{
    void operator()(ZQIFAddrRecord* list) const
    {
        ZQFreeIFAddrLists(list);
    }
};

/// The addresses of the machine; empty when it does not tell them.
class LocalAddresses
{
public:
    LocalAddresses()
    {
        ZQIFAddrRecord* list = nullptr;
        m_nCount = ZQGetIFAddrLists(&list);
        m_list.reset(list);
    }
    const ZQIFAddrRecord* begin() const
    {
        return m_list.get();
    }
    const ZQIFAddrRecord* end() const
    {
        return m_list != nullptr ? m_list.get() + m_nCount : nullptr;
    }

private:
    int m_nCount;
    std::unique_ptr<ZQIFAddrRecord, FreeList> m_list;
};

/// Copies an address into the caller's buffer and fills the rest with zeros.
void CopyOut(const char* address, char* out)
{
    std::strncpy(out, address, OutSize);
}

/// The first address that is not the loopback; the last one whatever it is. Null if there is none.
const char* PickDefault(const LocalAddresses& addresses)
{
    for (const ZQIFAddrRecord& record : addresses)
    {
        const bool isLast = &record + 1 == addresses.end();
        if (ZQIsAddressText(record.szAddr) && (isLast || std::strcmp(record.szAddr, ZQLoopbackAddress) != 0))
        {
            return record.szAddr;
        }
    }
    return nullptr;
}

/// The first address that shares its subnet with @p remote, or null.
const char* PickOnSubnet(const LocalAddresses& addresses, const char* remote)
{
    for (const ZQIFAddrRecord& record : addresses)
    {
        if (ZQIsAddressText(record.szAddr) && ZQIsAddressText(record.szMask) &&
            ZQIsSubnet(remote, record.szAddr, record.szMask))
        {
            return record.szAddr;
        }
    }
    return nullptr;
}

/// The first address of a host, or `false`.
bool ResolveHost(const char* name, in_addr& address)
{
    for (std::vector<char> answer(FirstAnswerSize); answer.size() <= LastAnswerSize; answer.resize(answer.size() * 2))
    {
        hostent host;
        hostent* found = nullptr;
        int error = 0;
        const int result = gethostbyname_r(name, &host, answer.data(), answer.size(), &found, &error);
        if (result == ERANGE)
        {
            continue;
        }
        if (result != 0 || found == nullptr || found->h_addrtype != AF_INET || found->h_addr_list[0] == nullptr)
        {
            return false;
        }
        std::memcpy(&address, found->h_addr_list[0], sizeof(address));
        return true;
    }
    return false;
}

/// Asks the system which address it would send from to @p remote. Leaves @p out as it is when that fails.
void ProbeRoute(const in_addr& remote, char* out)
{
    const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe == -1)
    {
        return;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(ProbePort);
    address.sin_addr = remote;
    const int broadcast = 1;  // else a broadcast address could not be connected to
    socklen_t size = sizeof(address);
    char text[INET_ADDRSTRLEN];
    // Connecting a datagram socket chooses the route and the local address, and sends nothing.
    if (setsockopt(probe, SOL_SOCKET, SO_BROADCAST, &broadcast, sizeof(broadcast)) == 0 &&
        connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
        getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        inet_ntop(AF_INET, &address.sin_addr, text, sizeof(text)) != nullptr)
    {
        CopyOut(text, out);
    }
    close(probe);
}

/// Writes what the list of interfaces tells.
/// @return whether that is final: on the subnet of @p remote, or without one
bool GuessFromInterfaces(const char* remote, char* out)
{
    const LocalAddresses addresses;
    if (const char* address = PickDefault(addresses))
    {
        CopyOut(address, out);
    }
    if (remote == nullptr)
    {
        return true;
    }
    const char* address = PickOnSubnet(addresses, remote);
    if (address != nullptr)
    {
        CopyOut(address, out);
    }
    return address != nullptr;
}
}  // namespace

bool ZQIsSubnet(const char* ip1, const char* ip2, const char* mask)
{
    const in_addr_t bits = inet_addr(mask);
    return bits != 0 && (inet_addr(ip1) & bits) == (inet_addr(ip2) & bits);
}

bool ZQGuessLocalIp(const char* remote, char* out)
{
    if (remote != nullptr && std::strcmp(remote, ZQLoopbackAddress) == 0)
    {
        CopyOut(remote, out);
        return true;
    }
    out[0] = '\0';
    if (!GuessFromInterfaces(remote, out))
    {
        in_addr address;
        if (inet_aton(remote, &address) != 0 || ZQUnlessNoMemory(false, [&] { return ResolveHost(remote, address); }))
        {
            ProbeRoute(address, out);
        }
    }
    return out[0] != '\0';
}
