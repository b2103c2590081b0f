#ifndef ZQTESTS_DATETIME_H
#define ZQTESTS_DATETIME_H

#include <ZQTime.h>

#include <cstdlib>
#include <cstring>
#include <string>

/// The fields of @p value, which has no getters: "2024-3-5 9:7:3.45 Tue".
inline std::string FieldsOf(const ZQDateTime& value) {
    int f[24];
    static_assert(sizeof(f) == sizeof(value), "eight numbers and a text of 64 characters");
    std::memcpy(f, static_cast<const void*>(&value), sizeof(f));
    char text[128];
    std::snprintf(text, sizeof(text), "%d-%d-%d %d:%d:%d.%d %.3s", f[0], f[1], f[2], f[3], f[4], f[5], f[6],
                  &"unsSunMonTueWedThuFriSat"[3 * (f[7] + 1)]);
    return text;
}

/// Makes @p zone, in the form of TZ, the zone of the process.
inline void UseZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

#endif
