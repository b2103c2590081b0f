#include "ZQOSApi.h"

#include "support/FakeNetwork.h"

#include <gtest/gtest.h>

TEST(ZQLocalIpTest, IsSubnetComparesUnderTheMask) {
    EXPECT_TRUE(ZQIsSubnet("10.1.2.3", "10.1.9.9", "255.255.0.0"));
    EXPECT_FALSE(ZQIsSubnet("10.1.2.3", "10.1.9.9", "255.255.255.0"));
    EXPECT_FALSE(ZQIsSubnet("10.1.2.3", "10.1.2.3", "0.0.0.0"));
    EXPECT_TRUE(ZQIsSubnet("no address", "10.1.2.255", "0.0.0.255"));
}

TEST(ZQLocalIpTest, GuessesBySubnetThenRouteThenOrder) {
    const std::vector<FakeInterface> plain = {{"e0", "10.1.0.1", "255.255.0.0", nullptr},
                                              {"e1", "10.2.0.1", "255.255.0.0", nullptr}};
    const std::vector<FakeInterface> loopback = {{"lo", "127.0.0.1", "255.255.255.255", nullptr},
                                                 {"e0", "10.1.0.1", nullptr, nullptr}};
    const struct {
        const std::vector<FakeInterface>& table;
        bool fails;
        const char *remote, *address;
    } cases[] = {
        {plain, false, "127.0.0.1", "127.0.0.1"},     // without asking
        {plain, false, nullptr, "10.1.0.1"},          // the first
        {loopback, false, nullptr, "10.1.0.1"},       // the first but the loopback, here the last
        {{}, false, nullptr, "127.0.0.1"},            // nothing else
        {{}, true, nullptr, ""},                      // nothing at all
        {plain, false, "10.2.3.4", "10.2.0.1"},       // a subnet
        {loopback, false, "127.0.0.5", "127.0.0.1"},  // a route
        {loopback, false, "local.test", "127.0.0.1"},
        {{}, true, "local.test", "127.0.0.1"},
        {loopback, false, "other.test", "10.1.0.1"},  // as without a remote
        {plain, false, "other.test", "127.0.0.1"},    // the odd mask of the added record
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.remote) + " " + c.address);
        UseInterfaces(c.table, c.fails);
        std::string out(129, 'x');
        EXPECT_EQ(ZQGuessLocalIp(c.remote, &out[0]), *c.address != '\0');
        EXPECT_STREQ(out.c_str(), c.address);
        EXPECT_EQ(out[128], 'x');
    }
}
