#include "ZQDateTimeLayouts.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <iterator>

namespace
{
/// Reads digits, as many as there are, or @p width at most; moves @p text behind them.
/// @return `false` if there is none, or more than an `int` always holds
bool ReadDigits(const char*& text, int width, int& value)
{
    constexpr int Most = 9;
    const char* const start = text;
    value = 0;
    while (*text >= '0' && *text <= '9' && text - start < width)
    {
        if (text - start == Most)
        {
            return false;
        }
        value = value * 10 + (*text++ - '0');
    }
    return text != start;
}
}  // namespace

const ZQDateTime::_StruLayout* ZQDateTime::_StruLayout::Find(EnumDTFormat fmt)
{
    constexpr auto Y = &ZQDateTime::m_nYear;
    constexpr auto M = &ZQDateTime::m_nMonth;
    constexpr auto D = &ZQDateTime::m_nDay;
    constexpr auto H = &ZQDateTime::m_nHour;
    constexpr auto N = &ZQDateTime::m_nMinute;
    constexpr auto S = &ZQDateTime::m_nSecond;
    static constexpr _StruLayout Layouts[] = {
        {"%d-%d-%d", {Y, M, D}, 3, 10},             // DTF_YYYY_MM_DD
        {"%d/%d/%d", {M, D, Y}, 3, -1},             // DTF_M_D_Y
        {"%04d%02d%02d", {Y, M, D}, 3, 8},          // DTF_YYYYMMDD
        {"%02d-%02d-%04d", {M, D, Y}, 3, 10},       // DTF_MM_DD_YYYY
        {"%02d/%02d/%04d", {M, D, Y}, 3, 10},       // DTF_MM_SLASH_DD_YYYY
        {"%d:%d:%d", {H, N, S}, 3, 8},              // DTF_HH_MM_SS
        {"%02d:%02d:%02d.%03d", {H, N, S}, 4, 12},  // DTF_HH_MM_SS_MS
        {"%02d%02d%02d", {H, N, S}, 3, 6},          // DTF_HHMMSS
    };
    constexpr unsigned int FirstTime = DTF_HH_MM_SS;
    constexpr unsigned int Dates = DTF_MM_SLASH_DD_YYYY + 1;
    constexpr unsigned int Times = DTF_HHMMSS - FirstTime + 1;
    static_assert(std::size(Layouts) == Dates + Times, "the dates, and right behind them the times");
    const unsigned int number = static_cast<unsigned int>(fmt);
    if (number < Dates)
    {
        return &Layouts[number];
    }
    return number - FirstTime < Times ? &Layouts[Dates + number - FirstTime] : nullptr;
}

int ZQDateTime::_StruLayout::SplitLength(EnumDTFormat fmt, int length)
{
    constexpr int Shortest = 5;  // what may be split at all where the length varies
    constexpr int Longest = 10;
    const _StruLayout* layout = Find(fmt);
    if (layout == nullptr || (layout->nFixedLength < 0 && length < Shortest))
    {
        return -1;
    }
    return std::min(length, layout->nFixedLength < 0 ? Longest : layout->nFixedLength);
}

bool ZQDateTime::_StruLayout::ReadPlain(const char* text, ZQDateTime& value) const
{
    int numbers[4] = {};
    int count = 0;
    for (const char* at = pszParse; *at != '\0'; ++at)
    {
        if (*at != '%')
        {
            if (*text++ != *at)
            {
                return false;
            }
            continue;
        }
        // Either "%d", which takes all digits, or "%02d" and the like.
        const int width = at[1] == '0' ? at[2] - '0' : INT_MAX;
        at += at[1] == '0' ? 3 : 1;
        if (!ReadDigits(text, width, numbers[count++]))
        {
            return false;
        }
    }
    for (int i = 0; i < 3; ++i)
    {
        value.*pFields[i] = numbers[i];
    }
    if (count > 3)
    {
        value.m_nMilliSecond = numbers[3];
    }
    return true;
}

bool ZQDateTime::_StruLayout::Read(const char* text, ZQDateTime& value) const
{
    return std::sscanf(text, pszParse, &(value.*pFields[0]), &(value.*pFields[1]), &(value.*pFields[2]),
                       &value.m_nMilliSecond) == nConversions;
}
