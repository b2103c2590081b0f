#include "support/DateTime.h"

#include <gtest/gtest.h>

TEST(ZQDateTimeParseTest, StoresWhatItReads) {
    const int Alone = -2;  // for the second layout
    const std::string blanks(127 - 19, ' ');
    const struct {
        std::string text;
        int first, second;
        const char* sep;
        bool done;
        const char* result;
    } cases[] = {
        {" 2024- 03- 05th", 0, Alone, "", true, "2024-3-5 3:4:5.6 Tue"},
        {"2024-03-05", 2, Alone, "", true, "2024-0-3 3:4:5.6 Sun"},
        {"009:7:3", 50, Alone, "", true, "2000-1-2 9:7:3.6 Sun"},
        {"09:07:03", 51, Alone, "", false, "2000-1-2 9:7:3.6 Sun"},
        {"2024-13-45", 0, Alone, "", true, "2024-13-45 3:4:5.6 Fri"},
        {"2024-3 5", 0, Alone, "", false, "2024-3-2 3:4:5.6 Sun"},
        {"", 0, Alone, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"2024-3-5", 5, Alone, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"2024-3-5", -1, Alone, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"-2147483648--2147483648-1", 0, Alone, "", false, "0--2147483648-1 3:4:5.6 Sun"},
        {"2024-03-05T09:07:03", 0, 50, " ", false, "2000-1-2 3:4:5.6 Sun"},
        {"9:7:3 on 3/5/2024", 50, 1, " on ", true, "2024-3-5 9:7:3.6 Tue"},
        {"2024-03-05-09:07:03", 0, 50, "-", false, "2024-1-2 3:4:5.6 Sun"},
        {"2024-03-05 x", 0, 50, " ", false, "2024-3-5 3:4:5.6 Tue"},
        {"2024030509:07:03", 2, 50, "", true, "2024-3-5 9:7:3.6 Tue"},
        {"2024-03-059:7:3", 0, 50, nullptr, true, "2024-3-5 9:7:3.6 Tue"},
        {"09:07:03.04503-05-20245", 51, 3, "", true, "2024-3-5 9:7:3.45 Tue"},
        {"03-05-2024090703", 3, 52, "", true, "2024-3-5 9:7:3.6 Tue"},
        {"09070312/05/20245", 52, 4, "", true, "2024-12-5 9:7:3.6 Thu"},
        {"03/05/202409:07:03.0456", 4, 51, "", true, "2024-3-5 9:7:3.45 Tue"},
        {"09:07:0320240305", 50, 2, "", true, "2024-3-5 9:7:3.6 Tue"},
        {"03/05/202409:07:03", 1, 50, "", true, "2024-3-5 9:7:3.6 Tue"},
        {"3/5/1", 1, 50, "", false, "1-3-5 3:4:5.6 Mon"},
        {"3/5/", 1, 50, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"2024-3-5", 0, 50, "", false, "2024-3-5 3:4:5.6 Tue"},
        {"2024-3-5", -1, 50, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"2024-03-05 " + blanks + "09:07:03", 0, 50, " ", true, "2024-3-5 9:7:3.6 Tue"},
        {"2024-03-05 " + blanks + " 09:07:03", 0, 50, " ", false, "2000-1-2 3:4:5.6 Sun"},
    };
    UseZone("UTC0");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        ZQDateTime value(2000, 1, 2, 3, 4, 5, 6);
        const auto first = static_cast<EnumDTFormat>(c.first);
        const auto second = static_cast<EnumDTFormat>(c.second);
        const char* const text = c.text.c_str();
        EXPECT_EQ(c.second == Alone ? value.SetFromFormat(text, first)
                                    : value.SetFromFormat(text, first, second, c.sep),
                  c.done);
        EXPECT_EQ(FieldsOf(value), c.result);
    }
}

TEST(ZQDateTimeParseTest, FirstPartMeetsTheOldTime) {
    UseZone("UTC0");
    ZQDateTime value(2000, 1, 1, 23, 59, 59, 0);
    EXPECT_FALSE(value.SetFromFormat("1969-12-31 00:00:00"));  // with 23:59:59 it is the instant -1
    EXPECT_EQ(FieldsOf(value), "0-12-31 23:59:59.0 Sat");
    EXPECT_FALSE(value.SetFromFormat(nullptr) || value.SetFromFormat(nullptr, DTF_HHMMSS));
    ZQDateTime unset(0, 0, 0, 0, 0, 0, 0);
    EXPECT_TRUE(unset.SetFromFormat("2024-03-05 09:07:03") && !unset.IsValid());  // for want of milliseconds
    EXPECT_TRUE(value.SetFromFormat("2024-59-5", DTF_YYYY_MM_DD) && value.IsValid());
    EXPECT_TRUE(value.SetFromFormat("2024-60-5", DTF_YYYY_MM_DD) && !value.IsValid());
}
