#include "ZQTime.h"

#include "ZQCalendar.h"

#include <cstdlib>
#include <sys/time.h>

namespace
{
/// Whether @p value is one of @p first and the @p span values after it. One comparison, which needs no sum that overflows.
bool InRange(int value, int first, unsigned int span)
{
    return static_cast<unsigned int>(value) - static_cast<unsigned int>(first) <= span;
}

bool AreYearDayAndTimeInRange(int year, int day, int hour, int minute, int second, int millisecond)
{
    return InRange(year, 1970, 1029) && InRange(day, 1, 30) && InRange(hour, 0, 23) && InRange(minute, 0, 59) &&
           InRange(second, 0, 59) && InRange(millisecond, 0, 999);
}
}  // namespace

ZQDateTime::ZQDateTime()
{
    GetLocalTime();
}

ZQDateTime::ZQDateTime(int year, int month, int day, int hour, int minute, int second, int millisecond)
{
    Assign(year, month, day, hour, minute, second, millisecond);
}

ZQDateTime::ZQDateTime(const long& epochSeconds)
{
    SetEpochTime(epochSeconds);
}

ZQDateTime::ZQDateTime(const ZQDateTime& other) = default;

ZQDateTime& ZQDateTime::operator=(const ZQDateTime& other) = default;

ZQDateTime::~ZQDateTime() = default;

bool ZQDateTime::Assign(int year, int month, int day, int hour, int minute, int second, int millisecond)
{
    std::tm normal = ZQStandardTime(year, month, day, hour, minute, second);
    if (!AreYearDayAndTimeInRange(year, day, hour, minute, second, millisecond) || !InRange(month, 1, 11) ||
        !ZQNormalise(normal))
    {
        return false;
    }
    m_nYear = year;
    m_nMonth = month;
    m_nDay = day;
    m_nHour = hour;
    m_nMinute = minute;
    m_nSecond = second;
    m_nMilliSecond = millisecond;
    m_nWeekDay = normal.tm_wday;
    return true;
}

bool ZQDateTime::IsValid() const
{
    // 59, not 12: the month shifts store 0 and 13 on, and such values stay usable.
    return AreYearDayAndTimeInRange(m_nYear, m_nDay, m_nHour, m_nMinute, m_nSecond, m_nMilliSecond) &&
           InRange(m_nMonth, 0, 59) && InRange(m_nWeekDay, 0, 6);
}

bool ZQDateTime::GetLocalTime()
{
    timeval now;
    std::tm local = {};
    if (gettimeofday(&now, nullptr) != 0 || localtime_r(&now.tv_sec, &local) == nullptr)
    {
        return false;
    }
    Load(local, static_cast<int>(now.tv_usec / 1000));
    return true;
}

bool ZQDateTime::SetLocalTime()
{
    timeval value = {};
    value.tv_sec = Timestamp();
    if (settimeofday(&value, nullptr) != 0)
    {
        return false;
    }
    const int ignored = std::system("hwclock -w");  // not every machine has a hardware clock
    static_cast<void>(ignored);
    return true;
}

long ZQDateTime::GetEpochTime() const
{
    std::tm fields = ZQStandardTime(m_nYear, m_nMonth, m_nDay, m_nHour, m_nMinute, m_nSecond);
    return std::mktime(&fields);
}

long ZQDateTime::Timestamp() const
{
    return GetEpochTime();
}

bool ZQDateTime::SetEpochTime(long epochSeconds)
{
    std::tm local = {};
    if (localtime_r(&epochSeconds, &local) == nullptr)
    {
        return false;
    }
    Load(local, 0);
    return true;
}

bool ZQDateTime::IsAM() const
{
    return m_nHour < 12;
}

bool ZQDateTime::IsPM() const
{
    return m_nHour > 11;
}

void ZQDateTime::Load(const std::tm& local, int millisecond)
{
    m_nYear = ZQWrapAdd(local.tm_year, 1900);  // tm_year reaches the end of its type
    m_nMonth = local.tm_mon + 1;
    m_nDay = local.tm_mday;
    m_nHour = local.tm_hour;
    m_nMinute = local.tm_min;
    m_nSecond = local.tm_sec;
    m_nMilliSecond = millisecond;
    m_nWeekDay = local.tm_wday;
}
