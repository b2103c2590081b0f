#include "ZQCalendar.h"

std::tm ZQStandardTime(int year, int month, int day, int hour, int minute, int second)
{
    std::tm fields = {};  // tm_isdst 0, not -1: callers count on a summer value being read as standard time
    fields.tm_year = ZQWrapSub(year, 1900);
    fields.tm_mon = ZQWrapSub(month, 1);
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    return fields;
}

bool ZQNormalise(std::tm fields, std::tm& normal)
{
    const time_t instant = std::mktime(&fields);
    if (instant == -1)
    {
        return false;
    }
    normal = std::tm();
    return localtime_r(&instant, &normal) != nullptr;
}
