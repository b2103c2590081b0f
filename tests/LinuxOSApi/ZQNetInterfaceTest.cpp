#include "ZQOSApi.h"

#include "support/FakeNetwork.h"

#include <gtest/gtest.h>

/// The texts of a list and of 31 spare records behind it, one after the other, "+" for a mark; its count; what was printed.
template <class Record> static std::string List(int (*get)(Record**), void (*release)(Record*)) {
    testing::internal::CaptureStdout();
    Record* list = nullptr;
    const int count = get(&list);
    const char* byte = reinterpret_cast<const char*>(list);
    std::string text = list == nullptr ? "null " : "";
    for (size_t left = list != nullptr ? static_cast<size_t>(count + 31) * sizeof(Record) : 0; left > 0;
         --left, ++byte) {
        const char* const separator = text.empty() || text.back() == ' ' ? "" : " ";
        text += *byte == 0 ? separator : *byte == 1 ? "+" : std::string(1, *byte);
    }
    release(list);
    return text + std::to_string(count) + testing::internal::GetCapturedStdout();
}

TEST(ZQNetInterfaceTest, ListsWhatTheSystemTells) {
    const char* const mac = "\x02\xfc\x80\x7f\xff\x0a";
    const std::vector<FakeInterface> usual = {{"e0", nullptr, nullptr, mac},
                                              {"e0", "::1", nullptr, mac},
                                              {"e0", "192.168.100.200", "255.255.255.0", mac},
                                              {"lo", "127.0.0.1", "255.0.0.0", "\0\0\0\0\0\0"}};
    const std::vector<FakeInterface> any = {{"e0", "0.0.0.0", "255.255.255.128", "\1\1\1\1\1\1"},
                                            {"e1", "10.0.0.1", nullptr, "\0\0\0\0\0\1"},
                                            {"e2", "0.0.0.0", "255.255.255.128", "\1\1\1\1\1\1"}};
    const std::vector<FakeInterface> names = {{nullptr, "10.0.0.1", nullptr, mac},
                                              {"exactly-fifteen", "10.0.0.2", nullptr, mac},
                                              {"longer-than-fifteen", "10.0.0.3", nullptr, "\1\1\1\1\1\1"}};
    const struct {
        const std::vector<FakeInterface>& table;
        bool fails;
        const char *addresses, *hardware;
    } cases[] = {
        {{}, false, "127.0.0.1 127.0.0.1 1", "0"},
        {usual, false, "192.168.100.200 255.255.255.0 127.0.0.1 255.0.0.0 2", "+02-fc-80-7f-ff-0a 1"},
        {any, false, "10.0.0.1 127.0.0.1 127.0.0.1 2", "+01-01-01-01-01-01 +00-00-00-00-00-01 2"},
        {names, false, "10.0.0.1 10.0.0.2 10.0.0.3 127.0.0.1 127.0.0.1 4",
         "+02-fc-80-7f-ff-0a 1ZQGetMacAddrLists() ioctl() SIOCGIFHWADDR fail! \n"},
        {{}, true, "null -1", "null -1ZQGetMacAddrLists() getifaddrs() fail! \n"},
    };
    for (const auto& c : cases) {
        UseInterfaces(c.table, c.fails);
        EXPECT_EQ(List(ZQGetIFAddrLists, ZQFreeIFAddrLists), c.addresses);
        EXPECT_EQ(List(ZQGetMacAddrLists, ZQFreeMacAddrLists), c.hardware);
    }
}
