#ifndef ZQDATETIMELAYOUTS_H
#define ZQDATETIMELAYOUTS_H

#include "ZQTime.h"

/// How one layout is parsed, and how long its texts are.
struct ZQDateTime::_StruLayout
{
    const char* pszParse;  // for sscanf(3); without widths it takes numbers that are not padded as well
    int ZQDateTime::*pFields[3];
    int nConversions;  // where there are four, the last is the milliseconds
    int nFixedLength;  // the characters of every text, -1 if their number varies

    /// The row of @p fmt, null if it is none of the layouts, whatever its number.
    static const _StruLayout* Find(EnumDTFormat fmt);

    /// Where the second part begins in a text of @p length characters that starts with @p fmt and has no separator; never
    /// behind its end. -1 if that cannot be told.
    static int SplitLength(EnumDTFormat fmt, int length);

    /// Parses what Format() writes, or the same without the leading zeros that the layout does not need: digits and
    /// separators alone, no number of more than 9 digits. Such a text means the same to sscanf(3), which takes far longer.
    /// @return `false`, with nothing changed, if @p text may mean something else or nothing
    bool ReadPlain(const char* text, ZQDateTime& value) const;

    /// Parses any text, by sscanf(3).
    /// @return `false` if it has not all the numbers; those before the gap are stored
    bool Read(const char* text, ZQDateTime& value) const;
};

#endif
