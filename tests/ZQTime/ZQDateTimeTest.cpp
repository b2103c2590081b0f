#include "support/DateTime.h"

#include <gtest/gtest.h>
#include <unistd.h>

TEST(ZQDateTimeTest, AssignKeepsFieldsInRangeAsGiven) {
    UseZone("UTC0");
    EXPECT_EQ(FieldsOf({1970, 1, 1, 0, 0, 0, 0}), "1970-1-1 0:0:0.0 Thu");
    EXPECT_EQ(FieldsOf({2999, 12, 31, 23, 59, 59, 999}), "2999-12-31 23:59:59.999 Tue");
    EXPECT_EQ(FieldsOf({2023, 2, 30, 0, 0, 0, 0}), "2023-2-30 0:0:0.0 Thu");
    const int outside[][7] = {{1969, 0, 0, -1, -1, -1, -1}, {3000, 13, 32, 24, 60, 60, 1000}};
    for (int i = 0; i < 14; ++i) {
        SCOPED_TRACE(i);
        int f[7] = {2024, 1, 2, 3, 4, 5, 6};
        f[i % 7] = outside[i / 7][i % 7];
        const ZQDateTime unset(f[0], f[1], f[2], f[3], f[4], f[5], f[6]);
        EXPECT_EQ(FieldsOf(unset), "-1--1-0 -1:-1:0.-1 uns");
        EXPECT_FALSE(unset.IsValid());
        ZQDateTime old(2024, 3, 5, 9, 7, 3, 45);
        EXPECT_FALSE(old.Assign(f[0], f[1], f[2], f[3], f[4], f[5], f[6]));
        EXPECT_EQ(FieldsOf(old), "2024-3-5 9:7:3.45 Tue");
    }
}

TEST(ZQDateTimeTest, FieldsAreStandardTimeAndInstantsAreNot) {
    const struct {
        const char* zone;
        int month;              // the value is noon of its first day in 2024
        long instant;           // which the fields name
        const char* atInstant;  // what that instant shows
    } cases[] = {
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1, 1704106800, "2024-1-1 12:0:0.0 Mon"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 7, 1719831600, "2024-7-1 13:0:0.0 Mon"},
        {":/usr/share/zoneinfo/Europe/Berlin", 7, 1719831600, "2024-7-1 13:0:0.0 Mon"},
        {"NZST-12NZDT,M9.5.0,M4.1.0/3", 1, 1704067200, "2024-1-1 13:0:0.0 Mon"},
        {"IST-5:30", 7, 1719815400, "2024-7-1 12:0:0.0 Mon"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.zone);
        if (c.zone[0] == ':' && access(c.zone + 1, R_OK) != 0) {
            continue;  // this machine has no files of zones
        }
        UseZone(c.zone);
        ZQDateTime value(2024, c.month, 1, 12, 0, 0, 0);
        EXPECT_TRUE(value.GetEpochTime() == c.instant && value.Timestamp() == c.instant) << value.GetEpochTime();
        EXPECT_EQ(FieldsOf(ZQDateTime(c.instant)), c.atInstant);
        EXPECT_TRUE(value.AddSeconds(0));
        EXPECT_EQ(FieldsOf(value), c.atInstant);
    }
}

TEST(ZQDateTimeTest, NowIsRightInSummer) {
    UseZone("XST-1XDT,J1/0,J365/25");  // summer all year
    const long before = ZQDateTime::GetEpochMilliseconds();
    const ZQDateTime now;
    const long after = ZQDateTime::GetEpochMilliseconds();
    ZQDateTime earliest(before / 1000), latest(after / 1000);
    EXPECT_TRUE(earliest.AddMilliseconds(static_cast<int>(before % 1000)));
    EXPECT_TRUE(latest.AddMilliseconds(static_cast<int>(after % 1000)));
    EXPECT_TRUE(now.IsValid() && !(now < earliest) && !(now > latest));
    EXPECT_FALSE(ZQDateTime(-86400L).SetLocalTime());  // no clock may be set to that, whoever asks
}

TEST(ZQDateTimeTest, ComparesInstantAndMilliseconds) {
    UseZone("UTC0");
    const ZQDateTime earlier(2023, 3, 2, 11, 59, 59, 998);
    const ZQDateTime later(2023, 2, 30, 11, 59, 59, 999);
    const ZQDateTime noon(2023, 3, 2, 12, 0, 0, 0);
    const ZQDateTime same(2023, 3, 2, 11, 59, 59, 999);
    EXPECT_TRUE(earlier < later && later > earlier && earlier != later && later != earlier && later < noon);
    EXPECT_FALSE(earlier > later || later < earlier || earlier == later || later > noon);
    EXPECT_TRUE(later == same && !(later != same) && !(later < same) && !(later > same));
    EXPECT_TRUE(ZQDateTime(67767036191676799L) < noon);  // 64 bits do not hold its milliseconds
    EXPECT_TRUE(later.IsAM() && noon.IsPM() && !later.IsPM() && !noon.IsAM());
    EXPECT_NE(noon.Format(nullptr, 0), nullptr);
    ZQDateTime copy(noon), assigned;
    assigned = copy;
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&assigned), &noon, sizeof(noon)), 0) << "the text goes along";
}
