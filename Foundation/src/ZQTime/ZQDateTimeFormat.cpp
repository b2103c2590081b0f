#include "ZQDateTimeLayouts.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr size_t LongestText = 12;

/// Writes one thing after another. A valid value has few digits, and their number is known, so that they cost a fraction of
/// what snprintf(3) takes.
struct TextWriter
{
    char* pAt;

    TextWriter& Char(char c)
    {
        *pAt++ = c;
        return *this;
    }
    TextWriter& Digit(int value)
    {
        return Char(static_cast<char>('0' + value));
    }
    TextWriter& Two(int value)
    {
        return Digit(value / 10).Digit(value % 10);
    }
    TextWriter& Four(int value)
    {
        return Two(value / 100).Two(value % 100);
    }
    /// One digit or two.
    TextWriter& Short(int value)
    {
        return value < 10 ? Digit(value) : Two(value);
    }
};
}  // namespace

/// Writes a valid value, without a null behind it.
/// @return the end of the text; null if @p fmt is unknown
inline char* ZQDateTime::Write(EnumDTFormat fmt, char* out) const
{
    TextWriter text{out};
    switch (fmt)
    {
    case DTF_YYYY_MM_DD: return text.Four(m_nYear).Char('-').Two(m_nMonth).Char('-').Two(m_nDay).pAt;
    case DTF_M_D_Y: return text.Short(m_nMonth).Char('/').Short(m_nDay).Char('/').Four(m_nYear).pAt;
    case DTF_YYYYMMDD: return text.Four(m_nYear).Two(m_nMonth).Two(m_nDay).pAt;
    case DTF_MM_DD_YYYY: return text.Two(m_nMonth).Char('-').Two(m_nDay).Char('-').Four(m_nYear).pAt;
    case DTF_MM_SLASH_DD_YYYY: return text.Two(m_nMonth).Char('/').Two(m_nDay).Char('/').Four(m_nYear).pAt;
    case DTF_HH_MM_SS: return text.Two(m_nHour).Char(':').Two(m_nMinute).Char(':').Two(m_nSecond).pAt;
    case DTF_HH_MM_SS_MS:
        text.Two(m_nHour).Char(':').Two(m_nMinute).Char(':').Two(m_nSecond).Char('.');
        return text.Digit(m_nMilliSecond / 100).Two(m_nMilliSecond % 100).pAt;
    case DTF_HHMMSS: return text.Two(m_nHour).Two(m_nMinute).Two(m_nSecond).pAt;
    }
    return nullptr;
}

/// The characters that Write() writes.
inline size_t ZQDateTime::LengthOf(const _StruLayout& layout) const
{
    if (layout.nFixedLength >= 0)
    {
        return static_cast<size_t>(layout.nFixedLength);
    }
    constexpr size_t SlashesAndYear = 6;
    return (m_nMonth < 10 ? 1U : 2U) + (m_nDay < 10 ? 1U : 2U) + SlashesAndYear;
}

char* ZQDateTime::Format(EnumDTFormat fmt, char* buf, int len) const
{
    if (buf == nullptr)
    {
        buf = m_szText;
        len = sizeof(m_szText);
    }
    if (!IsValid() || len <= 0)
    {
        return nullptr;
    }
    const size_t size = static_cast<size_t>(len);
    std::memset(buf, 0, size);
    if (size >= LongestText + 2)
    {
        return Write(fmt, buf) != nullptr ? buf : nullptr;
    }
    char text[LongestText];
    const char* const end = Write(fmt, text);
    if (end == nullptr)
    {
        return nullptr;
    }
    const size_t room = std::max<size_t>(size, 2) - 2;  // two more than the text, not one
    std::memcpy(buf, text, std::min(static_cast<size_t>(end - text), room));
    return buf;
}

char* ZQDateTime::Format(EnumDTFormat dateFmt, EnumDTFormat timeFmt, const char* sep, char* buf, int len) const
{
    const _StruLayout* const first = _StruLayout::Find(dateFmt);
    const _StruLayout* const second = _StruLayout::Find(timeFmt);
    if (!IsValid() || first == nullptr || second == nullptr)
    {
        return nullptr;
    }
    if (buf == nullptr)
    {
        buf = m_szText;
        len = sizeof(m_szText);
    }
    const size_t sepLength = std::strlen(sep);
    const size_t total = LengthOf(*first) + sepLength + LengthOf(*second);
    if (static_cast<long>(total) >= len)
    {
        return nullptr;
    }
    const size_t size = static_cast<size_t>(len);
    std::memset(buf, 0, size);
    char* const end = Write(dateFmt, buf);
    std::memcpy(end, sep, sepLength);
    Write(timeFmt, end + sepLength);
    buf[size - 2] = '\0';  // two more than the text, not one
    return buf;
}

char* ZQDateTime::Format(char* buf, int len) const
{
    return Format(DTF_YYYY_MM_DD, DTF_HH_MM_SS, " ", buf, len);
}
