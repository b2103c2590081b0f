#ifndef ZQCALENDAR_H
#define ZQCALENDAR_H

#include <ctime>
#include <type_traits>

/// @p a + @p b, @p a - @p b and @p a * @p b, wrapping at the ends of their type.
template <typename T> constexpr T ZQWrapAdd(T a, T b)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
}

template <typename T> constexpr T ZQWrapSub(T a, T b)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
}

template <typename T> constexpr T ZQWrapMul(T a, T b)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) * static_cast<U>(b));
}

/// What `mktime(3)` is asked about: the fields, taken as standard time.
std::tm ZQStandardTime(int year, int month, int day, int hour, int minute, int second);

/// Makes @p fields the local time of the instant that they name as standard time: all in range, the day of the week set.
/// @return `false` if there is none, or if it is the instant -1, which `mktime(3)` does not tell from that
bool ZQNormalise(std::tm& fields);

#endif
