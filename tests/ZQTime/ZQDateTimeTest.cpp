#include "ZQOSApi.h"
#include "ZQTime.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <tuple>
#include <unistd.h>

/// The fields of @p value, which has no getters: "2024-3-5 9:7:3.45 Tue".
static std::string FieldsOf(const ZQDateTime& value) {
    int f[24];
    static_assert(sizeof(f) == sizeof(value), "eight numbers and a text of 64 characters");
    std::memcpy(f, static_cast<const void*>(&value), sizeof(f));
    char text[128];
    std::snprintf(text, sizeof(text), "%d-%d-%d %d:%d:%d.%d %.3s", f[0], f[1], f[2], f[3], f[4], f[5], f[6],
                  &"unsSunMonTueWedThuFriSat"[3 * (f[7] + 1)]);
    return text;
}

/// Makes @p zone, in the form of TZ, the zone of the process.
static void UseZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

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
    // The value is noon of the month's first day; its fields name an instant, which shows other fields in summer.
    const std::tuple<const char*, int, long, const char*> cases[] = {
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1, 1704106800, "2024-1-1 12:0:0.0 Mon"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 7, 1719831600, "2024-7-1 13:0:0.0 Mon"},
        {":/usr/share/zoneinfo/Europe/Berlin", 7, 1719831600, "2024-7-1 13:0:0.0 Mon"},
        {"NZST-12NZDT,M9.5.0,M4.1.0/3", 1, 1704067200, "2024-1-1 13:0:0.0 Mon"},
        {"IST-5:30", 7, 1719815400, "2024-7-1 12:0:0.0 Mon"},
    };
    for (const auto& [zone, month, instant, atInstant] : cases) {
        SCOPED_TRACE(zone);
        if (zone[0] == ':' && access(zone + 1, R_OK) != 0) {
            continue;  // this machine has no files of zones
        }
        UseZone(zone);
        ZQDateTime value(2024, month, 1, 12, 0, 0, 0);
        EXPECT_TRUE(value.GetEpochTime() == instant && value.Timestamp() == instant) << value.GetEpochTime();
        EXPECT_EQ(FieldsOf(ZQDateTime(instant)), atInstant);
        EXPECT_TRUE(value.AddSeconds(0));
        EXPECT_EQ(FieldsOf(value), atInstant);
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

TEST(ZQClockTest, ClocksTellTheirTime) {
    EXPECT_EQ(ZQDateTime::CountElapsed(10, 5), 5U);
    EXPECT_EQ(ZQDateTime::CountElapsed(5, 10), 4294967290U);  // one is lost where the count wraps
    timespec monotonic;
    clock_gettime(CLOCK_MONOTONIC, &monotonic);
    const unsigned long tick = static_cast<unsigned long>(monotonic.tv_sec * 1000 + monotonic.tv_nsec / 1000000);
    EXPECT_LT(ZQDateTime::GetTickCount() - tick, 60000UL);
    EXPECT_LT(ZQDateTime::GetPerformanceCounter() - tick, 60000UL);
    EXPECT_LT(std::abs(ZQDateTime::GetEpochMilliseconds() - time(nullptr) * 1000), 60000L);
}

TEST(ZQClockTest, MeterCountsFromItsStart) {
    const ZQTimeMeter fresh;
    ZQTimeMeter whole, future;
    whole.Reset(0);
    future.Reset(ZQDateTime::GetTickCount() + 3600000);
    ZQSleep(20);
    EXPECT_EQ(future.GetElapsed(), 0UL);  // and starts with this
    EXPECT_GE(fresh.GetElapsed(), 20UL);
    const unsigned long tick = ZQDateTime::GetTickCount();
    EXPECT_GE(whole.GetElapsed(), tick);
    ZQSleep(20);
    EXPECT_GE(future.GetElapsed(), 20UL);
}

using Z = ZQDateTime;

TEST(ZQDateTimeArithmeticTest, Shifts) {
    UseZone("UTC0");
    const Z march(2024, 3, 5, 9, 7, 3, 45);
    const Z june(2023, 6, 15, 0, 0, 0, 1);
    const Z leapDay(2024, 2, 29, 1, 2, 3, 4);
    const Z irregular(2023, 2, 30, 1, 2, 3, 4);
    const Z tick(2024, 3, 5, 9, 7, 3, 0);
    const std::tuple<const char*, Z, bool (Z::*)(int), int, const char*> cases[] = {
        {"year keeps 29 February", leapDay, &Z::AddYears, 1, "2025-2-29 1:2:3.4 Sat"},
        {"past the last year", march, &Z::AddYears, 976, nullptr},
        {"before the first year", march, &Z::SubYears, 55, nullptr},
        {"back to the first year", march, &Z::SubYears, 54, "1970-3-5 9:7:3.45 Thu"},
        {"December is month 0", june, &Z::AddMonths, 6, "2024-0-15 0:0:0.1 Fri"},
        {"month before January", march, &Z::AddMonths, -5, "2024--2-5 9:7:3.45 Thu"},
        {"month wraps", march, &Z::AddMonths, INT_MAX, "-178954946--6-5 9:7:3.45 Sun"},
        {"cut to February", Z(2024, 1, 31, 0, 0, 0, 0), &Z::AddMonths, 1, "2024-2-28 0:0:0.0 Wed"},
        {"cut in a 400th year", Z(2000, 1, 31, 0, 0, 0, 0), &Z::AddMonths, 1, "2000-2-28 0:0:0.0 Mon"},
        {"back to December", march, &Z::SubMonths, 3, "2023-12-5 9:7:3.45 Tue"},
        {"uncut day is regular", Z(2023, 4, 31, 0, 0, 0, 0), &Z::SubMonths, -10, "2023-14-2 0:0:0.0 Sat"},
        {"day makes regular", irregular, &Z::AddDays, 0, "2023-3-2 1:2:3.4 Thu"},
        {"days wrap", march, &Z::AddDays, 24856, "1956-2-17 2:38:47.45 Fri"},
        {"days wrap to the least", march, &Z::SubDays, 1 << 24, "2092-3-23 12:21:11.45 Sun"},
        {"hours wrap", march, &Z::AddHours, 596524, "1956-2-16 6:38:47.45 Thu"},
        {"hours back", march, &Z::SubHours, 1 << 27, "2092-3-23 12:21:11.45 Sun"},
        {"seconds back", march, &Z::SubSeconds, INT_MIN, "2092-3-23 12:21:11.45 Sun"},
        {"carry", Z(2024, 3, 5, 9, 7, 3, 700), &Z::AddMilliseconds, 1500, "2024-3-5 9:7:5.200 Tue"},
        {"no carry, no change", irregular, &Z::AddMilliseconds, 995, "2023-2-30 1:2:3.999 Thu"},
        {"truncated", tick, &Z::AddMilliseconds, -1, "2024-3-5 9:7:3.-1 Tue"},
        {"milliseconds wrap", march, &Z::AddMilliseconds, INT_MAX, "2024-2-9 12:35:40.-604 Fri"},
        {"borrow", tick, &Z::SubMilliseconds, 1, "2024-3-5 9:7:2.999 Tue"},
        {"no borrow, no change", irregular, &Z::SubMilliseconds, 4, "2023-2-30 1:2:3.0 Thu"},
        {"least rest", tick, &Z::SubMilliseconds, INT_MIN, "2024-2-9 12:35:39.352 Fri"},
    };
    for (const auto& [name, from, shift, n, result] : cases) {  // no result: refused, nothing changed
        SCOPED_TRACE(name);
        Z value = from;
        EXPECT_EQ((value.*shift)(n), result != nullptr);
        EXPECT_EQ(FieldsOf(value), result != nullptr ? result : FieldsOf(from));
    }
    Z value = march;
    EXPECT_TRUE(value.AddMonths(-14) && value.SubMonths(11));  // adds a year once only
    EXPECT_EQ(FieldsOf(value), "2023--10-5 9:7:3.45 Sat");
}

TEST(ZQDateTimeArithmeticTest, SecondBeforeTheEpochIsAnInstantForSomeOnly) {
    UseZone("CET-1CEST,M3.5.0,M10.5.0/3");
    Z value(1971, 1, 1, 0, 59, 59, 7);
    EXPECT_FALSE(value.Assign(1970, 1, 1, 0, 59, 59, 7) || value.SubYears(1) || value.SubMonths(12));
    EXPECT_EQ(FieldsOf(value), "1971-1-1 0:59:59.7 Fri");
    EXPECT_TRUE(value.SubDays(365));
    EXPECT_EQ(FieldsOf(value), "1970-1-1 0:59:59.7 Thu");
    EXPECT_FALSE(value.AddYears(0) || value.AddMonths(0) || value.SubMonths(0));
    EXPECT_TRUE(value.AddMilliseconds(1000));
    EXPECT_EQ(FieldsOf(value), "1970-1-1 1:0:0.7 Thu");
}

TEST(ZQDateTimeArithmeticTest, LastInstantIsNotLeft) {
    UseZone("UTC0");
    const long last = 67768036191676799;
    EXPECT_EQ(FieldsOf(Z(last)), "-2147481749-12-31 23:59:59.0 Wed");  // of a year beyond 32 bits
    Z value(2024, 3, 5, 23, 59, 59, 999);
    ASSERT_TRUE(value.SetFromFormat("2147483647-22812-31", DTF_YYYY_MM_DD));  // the same day
    EXPECT_EQ(value.GetEpochTime(), last);
    EXPECT_FALSE(value.AddDays(1) || value.AddMilliseconds(1) || value.SubMilliseconds(-1) ||
                 value.SetEpochTime(last + 1));
    EXPECT_EQ(FieldsOf(value), "2147483647-22812-31 23:59:59.999 Wed");
}

constexpr int Alone = -2;  // for the second layout

TEST(ZQDateTimeTextTest, WritesIntoBuffers) {
    const std::string Sep45(45, '-');
    const std::tuple<int, int, std::string, int, size_t, std::string> cases[] = {
        {0, 1, " ", 64, 64, "2024-03-05 3/5/2024"},
        {2, 3, " ", 64, 64, "20240305 03-05-2024"},
        {4, 50, " ", 64, 64, "03/05/2024 09:07:03"},
        {51, 52, "", 64, 64, "09:07:03.045090703"},
        {0, 50, " ", 20, 20, "2024-03-05 09:07:0"},
        {0, 50, " ", 19, 0, ""},
        {5, 50, " ", 64, 0, ""},
        {0, -1, " ", 64, 0, ""},
        {0, 50, Sep45, 64, 64, "2024-03-05" + Sep45 + "09:07:0"},
        {0, 50, Sep45 + "-", 64, 0, ""},
        {0, Alone, "", 12, 12, "2024-03-05"},
        {0, Alone, "", 0, 0, ""},
        {5, Alone, "", 64, 64, ""},
        {5, Alone, "", 8, 8, ""},
        {INT_MIN, Alone, "", 64, 64, ""},
    };
    UseZone("UTC0");
    const ZQDateTime value(2024, 3, 5, 9, 7, 3, 45);
    for (const auto& [one, two, separator, bytes, zeroed, text] : cases) {
        SCOPED_TRACE(text + " of " + std::to_string(one) + " into " + std::to_string(bytes));
        const auto write = [first = static_cast<EnumDTFormat>(one), second = static_cast<EnumDTFormat>(two),
                            sep = separator, len = bytes](const ZQDateTime& from, char* buf) {
            return second == Alone ? from.Format(first, buf, len) : from.Format(first, second, &sep[0], buf, len);
        };
        std::string buffer(100, '#');
        EXPECT_EQ(write(ZQDateTime(2024, 13, 1, 0, 0, 0, 0), &buffer[0]), nullptr);
        EXPECT_EQ(buffer, std::string(100, '#'));
        EXPECT_EQ(write(value, &buffer[0]), text.empty() ? nullptr : &buffer[0]);
        std::string expected = text;
        expected.resize(zeroed, '\0');
        expected.resize(100, '#');
        EXPECT_EQ(buffer, expected);
        if (bytes == 64) {  // as many as the value has of its own
            const char* const own = value.Format(DTF_M_D_Y, nullptr, 0);
            EXPECT_EQ(write(value, nullptr), text.empty() ? nullptr : own);
            EXPECT_EQ(own, zeroed == 0 ? "3/5/2024" : text);
        }
    }
}

TEST(ZQDateTimeTextTest, OwnBufferHoldsTheLastText) {
    UseZone("UTC0");
    ZQDateTime value(2024, 12, 5, 9, 7, 3, 45);
    EXPECT_TRUE(value.AddMonths(0));
    const char* const own = value.Format(nullptr, 0);
    EXPECT_STREQ(own, "2025-00-05 09:07:03");
    EXPECT_EQ(value.Format(DTF_HHMMSS, nullptr, -1), own);
    EXPECT_EQ(std::string(own, 20), "090703" + std::string(14, '\0'));
    EXPECT_TRUE(value.AddMilliseconds(-46) && value.Format(DTF_HHMMSS, nullptr, 0) == nullptr);
    EXPECT_STREQ(own, "090703");
}

TEST(ZQDateTimeTextTest, StoresWhatItReads) {
    const std::string blanks(127 - 19, ' ');
    const std::tuple<std::string, int, int, const char*, bool, const char*> cases[] = {
        {" 2024- 03- 05th", 0, Alone, "", true, "2024-3-5 3:4:5.6 Tue"},
        {"2024-03-05", 2, Alone, "", true, "2024-0-3 3:4:5.6 Sun"},
        {"009:7:3", 50, Alone, "", true, "2000-1-2 9:7:3.6 Sun"},
        {"09:07:03", 51, Alone, "", false, "2000-1-2 9:7:3.6 Sun"},
        {"2024-3 5", 0, Alone, "", false, "2024-3-2 3:4:5.6 Sun"},
        {"2024-3-5", 5, Alone, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"-2147483648--2147483648-1", 0, Alone, "", false, "0--2147483648-1 3:4:5.6 Sun"},
        {"2024-03-05T09:07:03", 0, 50, " ", false, "2000-1-2 3:4:5.6 Sun"},
        {"9:7:3 on 3/5/2024", 50, 1, " on ", true, "2024-3-5 9:7:3.6 Tue"},
        {"2024-03-05-09:07:03", 0, 50, "-", false, "2024-1-2 3:4:5.6 Sun"},
        {"2024-03-05 x", 0, 50, " ", false, "2024-3-5 3:4:5.6 Tue"},
        {"2024-03-05 9:7", 0, 50, " ", false, "2024-3-5 9:7:5.6 Tue"},
        {"2024-03-05 99:7:3", 0, 50, " ", true, "2024-3-5 99:7:3.6 Sat"},
        {"2024-03-05 9", 0, 5, " ", false, "2024-3-5 3:4:5.6 Tue"},
        {"99999999999999999999-03-05", 0, Alone, "", true, "-1-3-5 3:4:5.6 Fri"},
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
        {"2024-3-5", -1, 50, "", false, "2000-1-2 3:4:5.6 Sun"},
        {"2024-03-05 " + blanks + "09:07:03", 0, 50, " ", true, "2024-3-5 9:7:3.6 Tue"},
        {"2024-03-05 " + blanks + " 09:07:03", 0, 50, " ", false, "2000-1-2 3:4:5.6 Sun"},
    };
    UseZone("UTC0");
    for (const auto& [string, one, two, sep, done, result] : cases) {
        SCOPED_TRACE(string);
        ZQDateTime value(2000, 1, 2, 3, 4, 5, 6);
        const auto first = static_cast<EnumDTFormat>(one), second = static_cast<EnumDTFormat>(two);
        const char* const from = string.c_str();
        EXPECT_EQ(two == Alone ? value.SetFromFormat(from, first) : value.SetFromFormat(from, first, second, sep),
                  done);
        EXPECT_EQ(FieldsOf(value), result);
    }
}

TEST(ZQDateTimeTextTest, FirstPartMeetsTheOldTime) {
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
