// Reads zones and instants, and writes what a date-time shows there, and whether its instant is that which mktime(3) gives.

#include <ZQTime.h>

#include <cstring>
#include <ctime>
#include <iostream>
#include <string>

int main() {
    std::string zone, last;
    for (long instant; std::cin >> zone >> instant; last = zone) {
        if (zone != last) {
            setenv("TZ", zone.c_str(), 1);
            tzset();
        }
        const ZQDateTime value(instant);
        int f[8];
        std::memcpy(f, static_cast<const void*>(&value), sizeof(f));
        std::tm fields = {};
        fields.tm_year = f[0] - 1900, fields.tm_mon = f[1] - 1, fields.tm_mday = f[2];
        fields.tm_hour = f[3], fields.tm_min = f[4], fields.tm_sec = f[5];
        std::cout << f[0] << '-' << f[1] << '-' << f[2] << ' ' << f[3] << ':' << f[4] << ':' << f[5] << ' ' << f[7]
                  << (value.GetEpochTime() == std::mktime(&fields) ? " yes\n" : " no\n");
    }
}
