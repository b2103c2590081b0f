// The addresses of the machine, and the one that reaches another.

#include <ZQOSApi.h>

#include <cstdio>
#include <cstring>

int main()
{
    ZQIFAddrRecord* addresses = nullptr;
    const int count = ZQGetIFAddrLists(&addresses);
    for (int i = 0; i < count; ++i)
    {
        if (0 == std::strcmp(addresses[i].szAddr, "127.0.0.1"))
        {
            std::puts("this machine is 127.0.0.1");
        }
    }
    ZQFreeIFAddrLists(addresses);

    std::printf("same subnet: %s\n", ZQIsSubnet("10.0.3.7", "10.0.3.200", "255.255.255.0") ? "yes" : "no");

    char local[128];
    if (ZQGuessLocalIp("127.0.0.1", local))  // a name is resolved, which may take long
    {
        std::printf("towards it: %s\n", local);
    }
}

// prints:
// this machine is 127.0.0.1
// same subnet: yes
// towards it: 127.0.0.1
