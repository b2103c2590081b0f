// Texts of date-times, in every layout and pair of layouts. The first two bytes choose those, the rest is the text.

#include "Fuzz.h"

#include <ZQTime.h>

namespace
{
constexpr EnumDTFormat Formats[] = {DTF_YYYY_MM_DD,       DTF_M_D_Y,    DTF_YYYYMMDD,    DTF_MM_DD_YYYY,
                                    DTF_MM_SLASH_DD_YYYY, DTF_HH_MM_SS, DTF_HH_MM_SS_MS, DTF_HHMMSS};
constexpr const char* Separators[] = {" ", "", nullptr, "T", "--"};

/// What has been parsed and is valid is written, and what is written is parsed again, to the same.
void RequireRoundTrip(const ZQDateTime& parsed, EnumDTFormat format)
{
    char text[64], again[64];
    if (parsed.IsValid() && parsed.Format(format, text, sizeof(text)) != nullptr)
    {
        ZQDateTime other(parsed);
        Require(other.SetFromFormat(text, format), "what was written is parsed");
        Require(other.Format(format, again, sizeof(again)) != nullptr, "what was parsed is written");
        Require(std::string(text) == again, "the same text");
    }
}
}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int zone = setenv("TZ", "UTC0", 1);
    if (size < 2 || zone != 0)
    {
        return 0;
    }
    const EnumDTFormat first = Formats[data[0] % 8];
    const EnumDTFormat second = Formats[data[0] / 8 % 8];
    const char* const separator = Separators[data[1] % 5];
    const std::string text = TextOf(data + 2, size - 2);
    ZQDateTime value(2024, 2, 29, 12, 34, 56, 789);
    if (value.SetFromFormat(text.c_str(), first))
    {
        RequireRoundTrip(value, first);
    }
    ZQDateTime pair(2024, 2, 29, 12, 34, 56, 789);
    if (pair.SetFromFormat(text.c_str(), first, second, separator))
    {
        RequireRoundTrip(pair, second);
    }
    pair.SetFromFormat(text.c_str());
    return 0;
}
