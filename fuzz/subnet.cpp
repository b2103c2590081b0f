// Three addresses, parted by line feeds.

#include "Fuzz.h"

#include <ZQOSApi.h>
#include <arpa/inet.h>
#include <sstream>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::istringstream lines(TextOf(data, size));
    std::string one, other, mask;
    std::getline(lines, one), std::getline(lines, other), std::getline(lines, mask);
    const bool shared = ZQIsSubnet(one.c_str(), other.c_str(), mask.c_str());
    Require(shared == ZQIsSubnet(other.c_str(), one.c_str(), mask.c_str()), "the same the other way round");
    Require(ZQIsSubnet(one.c_str(), one.c_str(), mask.c_str()) == (inet_addr(mask.c_str()) != 0),
            "a subnet of its own");
    return 0;
}
