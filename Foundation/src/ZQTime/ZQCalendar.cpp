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

bool ZQNormalise(std::tm& fields)
{
    return std::mktime(&fields) != -1;  // makes the fields those of the instant, so localtime_r would tell nothing new
}
