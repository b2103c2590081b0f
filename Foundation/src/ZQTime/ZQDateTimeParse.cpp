#include "ZQCalendar.h"
#include "ZQDateTimeLayouts.h"

#include <cstring>

namespace
{
constexpr size_t LongestText = 127;

/// The characters of @p text before @p sep, or -1 if it does not occur.
int PositionOf(const char* sep, const char* text)
{
    const char* at = std::strstr(text, sep);
    return at == nullptr ? -1 : static_cast<int>(at - text);
}
}  // namespace

/// Whether the fields name an instant in any zone, and not the one of -1, a second before 1970.
bool ZQDateTime::IsInstantSure() const
{
    const auto inRange = [](int value, int first, int last) { return value >= first && value <= last; };
    return inRange(m_nYear, 1971, 9999) && inRange(m_nMonth, 1, 12) && inRange(m_nDay, 1, 31) &&
           inRange(m_nHour, 0, 23) && inRange(m_nMinute, 0, 59) && inRange(m_nSecond, 0, 59);
}

bool ZQDateTime::SetFromFormat(const char* text, EnumDTFormat fmt)
{
    return ReadFields(text, fmt) && FindWeekDay();
}

/// Stores the numbers of @p text; the day of the week stays as it was.
/// @return as SetFromFormat()
bool ZQDateTime::ReadFields(const char* text, EnumDTFormat fmt)
{
    const _StruLayout* const layout = _StruLayout::Find(fmt);
    return text != nullptr && layout != nullptr && (layout->ReadPlain(text, *this) || layout->Read(text, *this));
}

/// Sets the day of the week to that of the instant, if there is one.
bool ZQDateTime::FindWeekDay()
{
    std::tm normal = ZQStandardTime(m_nYear, m_nMonth, m_nDay, m_nHour, m_nMinute, m_nSecond);
    if (!ZQNormalise(normal))
    {
        m_nYear = 0;  // the fields are changed by now; this keeps anyone from taking them for a date
        return false;
    }
    m_nWeekDay = normal.tm_wday;
    return true;
}

bool ZQDateTime::SetFromFormat(const char* text, EnumDTFormat firstFmt, EnumDTFormat secondFmt, const char* sep)
{
    if (text == nullptr)
    {
        return false;
    }
    const size_t length = strnlen(text, LongestText + 1);
    if (length > LongestText)
    {
        return false;
    }
    const size_t sepLength = sep == nullptr ? 0 : std::strlen(sep);
    const int firstLength =
        sepLength > 0 ? PositionOf(sep, text) : _StruLayout::SplitLength(firstFmt, static_cast<int>(length));
    if (firstLength < 0)
    {
        return false;
    }
    char first[LongestText + 1];
    std::memcpy(first, text, static_cast<size_t>(firstLength));
    first[firstLength] = '\0';
    const char* const second = text + firstLength + sepLength;
    if (!ReadFields(first, firstFmt))
    {
        return false;
    }
    if (IsInstantSure())
    {
        // All that the first part's instant is good for is a day of the week, which the second part replaces.
        ZQDateTime both(*this);
        if (both.SetFromFormat(second, secondFmt))
        {
            *this = both;
            return true;
        }
    }
    return FindWeekDay() && SetFromFormat(second, secondFmt);
}

bool ZQDateTime::SetFromFormat(const char* text)
{
    return SetFromFormat(text, DTF_YYYY_MM_DD, DTF_HH_MM_SS, " ");
}
