#include "support/DateTime.h"

#include <climits>
#include <gtest/gtest.h>

namespace {
const int Alone = -2;  // for the second layout
const std::string Sep45(45, '-');
}  // namespace

TEST(ZQDateTimeFormatTest, WritesIntoBuffers) {
    const struct {
        int first, second;
        std::string sep;
        int len, zeroed;  // the bytes that there are, and those that are zeroed
        std::string text;
    } cases[] = {
        {0, 1, " ", 64, 64, "2024-03-05 3/5/2024"},
        {2, 3, " ", 64, 64, "20240305 03-05-2024"},
        {4, 50, " ", 64, 64, "03/05/2024 09:07:03"},
        {51, 52, "", 64, 64, "09:07:03.045090703"},
        {0, 50, " ", 20, 20, "2024-03-05 09:07:0"},
        {0, 50, " ", 19, 0, ""},
        {0, 50, " ", -1, 0, ""},
        {5, 50, " ", 64, 0, ""},
        {0, -1, " ", 64, 0, ""},
        {0, 50, Sep45, 64, 64, "2024-03-05" + Sep45 + "09:07:0"},
        {0, 50, Sep45 + "-", 64, 0, ""},
        {0, Alone, "", 12, 12, "2024-03-05"},
        {0, Alone, "", 10, 10, "2024-03-"},
        {0, Alone, "", 0, 0, ""},
        {5, Alone, "", 64, 64, ""},
        {53, Alone, "", 1, 1, ""},
        {INT_MIN, Alone, "", 64, 64, ""},
    };
    UseZone("UTC0");
    const ZQDateTime value(2024, 3, 5, 9, 7, 3, 45);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text + " of " + std::to_string(c.first) + " into " + std::to_string(c.len));
        const auto write = [&c](const ZQDateTime& from, char* buf) {
            const auto first = static_cast<EnumDTFormat>(c.first);
            const auto second = static_cast<EnumDTFormat>(c.second);
            return c.second == Alone ? from.Format(first, buf, c.len)
                                     : from.Format(first, second, &c.sep[0], buf, c.len);
        };
        std::string buffer(100, '#');
        EXPECT_EQ(write(ZQDateTime(2024, 13, 1, 0, 0, 0, 0), &buffer[0]), nullptr);
        EXPECT_EQ(buffer, std::string(100, '#'));
        EXPECT_EQ(write(value, &buffer[0]), c.text.empty() ? nullptr : &buffer[0]);
        std::string expected = c.text;
        expected.resize(static_cast<size_t>(c.zeroed), '\0');
        expected.resize(100, '#');
        EXPECT_EQ(buffer, expected);
        if (c.len == 64)  // as many as the value has of its own
        {
            const char* const own = value.Format(DTF_M_D_Y, nullptr, 0);
            EXPECT_EQ(write(value, nullptr), c.text.empty() ? nullptr : own);
            EXPECT_EQ(own, c.zeroed == 0 ? "3/5/2024" : c.text);
        }
    }
}

TEST(ZQDateTimeFormatTest, OwnBufferHoldsTheLastText) {
    UseZone("UTC0");
    ZQDateTime value(2024, 12, 5, 9, 7, 3, 45);
    EXPECT_TRUE(value.AddMonths(0));
    const char* const own = value.Format(nullptr, 0);
    EXPECT_STREQ(own, "2025-00-05 09:07:03");
    EXPECT_EQ(value.Format(DTF_HHMMSS, nullptr, -1), own);
    EXPECT_EQ(std::string(own, 20), "090703" + std::string(14, '\0'));
    char one = '#';
    EXPECT_TRUE(value.Format(DTF_HHMMSS, &one, 1) == &one && one == '\0');
    EXPECT_TRUE(value.AddMilliseconds(-46) && value.Format(DTF_HHMMSS, nullptr, 0) == nullptr);
    EXPECT_STREQ(own, "090703");
}
