#include "FakeNetwork.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/ioctl.h>

namespace {
struct Entry : FakeInterface {
    ifaddrs table;
    sockaddr_in addressOf, maskOf;
};
std::vector<Entry> entries;
bool tableFails = false;

sockaddr* Parse(const char* text, sockaddr_in& address) {
    address.sin_family = text != nullptr && std::strchr(text, ':') != nullptr ? AF_INET6 : AF_INET;
    inet_aton(text != nullptr ? text : "", &address.sin_addr);
    return text != nullptr ? reinterpret_cast<sockaddr*>(&address) : nullptr;
}
}  // namespace

void UseInterfaces(const std::vector<FakeInterface>& table, bool fails) {
    tableFails = fails;
    entries.clear();
    for (const FakeInterface& interface : table) { entries.push_back({interface, {}, {}, {}}); }
    for (Entry& entry : entries) {
        entry.table.ifa_next = &entry != &entries.back() ? &(&entry + 1)->table : nullptr;
        entry.table.ifa_name = const_cast<char*>(entry.name);
        entry.table.ifa_addr = Parse(entry.address, entry.addressOf);
        entry.table.ifa_netmask = Parse(entry.mask, entry.maskOf);
    }
}

// The program's own definitions serve the library too.
extern "C" int getifaddrs(ifaddrs** table) noexcept {
    *table = entries.empty() ? nullptr : &entries[0].table;
    return tableFails ? -1 : 0;
}

extern "C" void freeifaddrs(ifaddrs*) noexcept {}

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    ifreq& asked = *va_arg(arguments, ifreq*);
    va_end(arguments);
    const auto known = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.name != nullptr && std::strncmp(entry.name, asked.ifr_name, IFNAMSIZ) == 0;
    });
    return known == entries.end() ? -1 : (std::memcpy(asked.ifr_hwaddr.sa_data, known->hardware, 6), 0);
}

extern "C" int gethostbyname_r(const char* name, hostent* host, char*, size_t size, hostent** found, int*) {
    static char address[] = {127, 0, 0, 5};
    static char* addresses[] = {address, nullptr};
    host->h_addrtype = AF_INET;
    host->h_addr_list = addresses;
    *found = std::strcmp(name, "local.test") == 0 ? host : nullptr;
    return size < 9000 ? ERANGE : 0;
}
