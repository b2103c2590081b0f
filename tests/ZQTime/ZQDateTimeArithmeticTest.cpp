#include "support/DateTime.h"

#include <climits>
#include <gtest/gtest.h>

namespace {
using Shift = bool (ZQDateTime::*)(int);
using Z = ZQDateTime;
}  // namespace

TEST(ZQDateTimeArithmeticTest, Shifts) {
    UseZone("UTC0");
    const Z march(2024, 3, 5, 9, 7, 3, 45);
    const Z june(2023, 6, 15, 0, 0, 0, 1);
    const Z leapDay(2024, 2, 29, 1, 2, 3, 4);
    const Z irregular(2023, 2, 30, 1, 2, 3, 4);
    const Z tick(2024, 3, 5, 9, 7, 3, 0);
    const struct {
        const char* name;
        Z value;
        Shift shift;
        int n;
        const char* result;  // null: refused, nothing changed
    } cases[] = {
        {"year keeps 29 February", leapDay, &Z::AddYears, 1, "2025-2-29 1:2:3.4 Sat"},
        {"past the last year", march, &Z::AddYears, 976, nullptr},
        {"before the first year", march, &Z::SubYears, 55, nullptr},
        {"back to the first year", march, &Z::SubYears, 54, "1970-3-5 9:7:3.45 Thu"},
        {"December is month 0", june, &Z::AddMonths, 6, "2024-0-15 0:0:0.1 Fri"},
        {"December stands still", Z(2024, 12, 15, 0, 0, 0, 0), &Z::AddMonths, 0, "2025-0-15 0:0:0.0 Sun"},
        {"month before January", march, &Z::AddMonths, -5, "2024--2-5 9:7:3.45 Thu"},
        {"month wraps", march, &Z::AddMonths, INT_MAX, "-178954946--6-5 9:7:3.45 Sun"},
        {"cut to February", Z(2024, 1, 31, 0, 0, 0, 0), &Z::AddMonths, 1, "2024-2-28 0:0:0.0 Wed"},
        {"cut in a 400th year", Z(2000, 1, 31, 0, 0, 0, 0), &Z::AddMonths, 1, "2000-2-28 0:0:0.0 Mon"},
        {"back to December", march, &Z::SubMonths, 3, "2023-12-5 9:7:3.45 Tue"},
        {"back several years", march, &Z::SubMonths, 29, "2021-10-5 9:7:3.45 Tue"},
        {"back by less than none", june, &Z::SubMonths, -6, "2023-12-15 0:0:0.1 Fri"},
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Z value = c.value;
        EXPECT_EQ((value.*c.shift)(c.n), c.result != nullptr);
        EXPECT_EQ(FieldsOf(value), c.result != nullptr ? c.result : FieldsOf(c.value));
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
