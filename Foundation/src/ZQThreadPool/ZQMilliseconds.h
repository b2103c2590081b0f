#ifndef ZQMILLISECONDS_H
#define ZQMILLISECONDS_H

/// The milliseconds of an idle time given in seconds; a product that does not fit wraps.
inline int ZQMillisecondsOf(int seconds)
{
    return static_cast<int>(static_cast<unsigned int>(seconds) * 1000U);
}

#endif
