// Days are counted on instants, which summer does not disturb; fields are for reading and writing.

#include <ZQTime.h>

#include <cstdio>

int main()
{
    char text[32];
    ZQDateTime parsed(0L);  // so that what is not parsed is 0
    if (parsed.SetFromFormat("2024-03-05 09:07:03"))
    {
        const long inTwoWeeks = parsed.GetEpochTime() + 14 * 86400L;
        std::printf("due on %s\n", ZQDateTime(inTwoWeeks).Format(DTF_YYYY_MM_DD, text, sizeof text));
    }

    ZQDateTime january(2024, 1, 31, 12, 0, 0, 0);
    january.AddMonths(1);  // to the end of February, which has 28 days here
    std::printf("a month on: %s\n", january.Format(text, sizeof text));

    parsed.SetFromFormat("2024-13-45", DTF_YYYY_MM_DD);  // numbers are not checked
    std::printf("valid: %s\n", parsed.IsValid() ? "yes" : "no");
}

// prints:
// due on 2024-03-19
// a month on: 2024-02-28 12:00:00
// valid: no
