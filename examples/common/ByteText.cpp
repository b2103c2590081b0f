#include "ByteText.h"

#include <algorithm>
#include <cstdio>

std::string ByteText(uint64_t bytes)
{
    static const char* const units[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    while (value >= 999.95)
    {
        value /= 1000;
        ++unit;
    }
    char text[32];
    snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text;
}

std::string RateText(uint64_t bytes, unsigned long ms)
{
    return ByteText(static_cast<uint64_t>(static_cast<double>(bytes) * 1000 / static_cast<double>(std::max(ms, 1UL)))) +
           "/s";
}
