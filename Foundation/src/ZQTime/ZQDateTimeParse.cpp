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

bool ZQDateTime::SetFromFormat(const char* text, EnumDTFormat fmt)
{
    const _StruLayout* const layout = _StruLayout::Find(fmt);
    if (text == nullptr || layout == nullptr || !(layout->ReadPlain(text, *this) || layout->Read(text, *this)))
    {
        return false;
    }
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
    return SetFromFormat(first, firstFmt) && SetFromFormat(text + firstLength + sepLength, secondFmt);
}

bool ZQDateTime::SetFromFormat(const char* text)
{
    return SetFromFormat(text, DTF_YYYY_MM_DD, DTF_HH_MM_SS, " ");
}
