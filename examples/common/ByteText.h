#ifndef ZQEXAMPLES_BYTETEXT_H
#define ZQEXAMPLES_BYTETEXT_H

#include <cstdint>
#include <string>

/// "8.9 GB", in decimal units.
std::string ByteText(uint64_t bytes);
/// "8.9 GB/s" for @p bytes in @p ms milliseconds.
std::string RateText(uint64_t bytes, unsigned long ms);

#endif
