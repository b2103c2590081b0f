// Date-times: now, format, parse, add days, compare; with TZ unset and set, in winter and in summer.

#include "Bench.h"

#include <ZQTime.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#ifdef ZQ_HAVE_ABSL
#include <absl/strings/string_view.h>
#include <absl/time/clock.h>
#include <absl/time/time.h>
#endif
#ifdef ZQ_HAVE_FMT
#include <fmt/chrono.h>
#endif
#ifdef ZQ_HAVE_GLIB
#include <glib.h>
#endif

namespace {
/// Where and when the work is done. The text is the local time, and what has to come out.
struct Setting {
    const char* name;
    const char* zone;  // null: TZ unset
    int month, day, hour, minute, second;
    const char* text;

    std::tm Local() const {
        std::tm local = {};
        local.tm_year = 2024 - 1900;
        local.tm_mon = month - 1;
        local.tm_mday = day;
        local.tm_hour = hour;
        local.tm_min = minute;
        local.tm_sec = second;
        local.tm_isdst = -1;
        return local;
    }
    std::time_t Instant() const {
        std::tm local = Local();
        return std::mktime(&local);
    }
};
const Setting settings[] = {
    {"TZ unset, winter", nullptr, 1, 17, 9, 7, 3, "2024-01-17 09:07:03"},
    {"TZ unset, summer", nullptr, 7, 17, 21, 47, 53, "2024-07-17 21:47:53"},
    {"TZ set, winter", "Europe/Berlin", 1, 17, 9, 7, 3, "2024-01-17 09:07:03"},
    {"TZ set, summer", "Europe/Berlin", 7, 17, 21, 47, 53, "2024-07-17 21:47:53"},
};

void Enter(const Setting& setting) {
    if (setting.zone != nullptr) {
        setenv("TZ", setting.zone, 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

char* TwoDigits(char* at, int value) {
    *at++ = static_cast<char>('0' + value / 10);
    *at++ = static_cast<char>('0' + value % 10);
    return at;
}

int Number(const char*& at, int digits) {
    int value = 0;
    for (int i = 0; i < digits; ++i) { value = value * 10 + (*at++ - '0'); }
    ++at;  // what stands behind it
    return value;
}

/// Adds a contestant in each setting. `body(state, setting)` loops, and returns whether the work was right.
template <class Body> void Add(const char* workload, const char* who, Body body) {
    for (const Setting& setting : settings) {
        bench::Loop(std::string(workload) + ", " + setting.name, who, [&setting, body](benchmark::State& state) {
            Enter(setting);
            return body(state, setting);
        });
    }
}

/// Adds a contestant whose operation is `make()`; the text of its last result, by `text(result)`, must be the wanted one.
template <class Make, class Text> bool
Repeat(benchmark::State& state, const char* wanted, std::size_t length, Make make, Text text) {
    auto last = make();
    for (auto _ : state) {
        last = make();
        benchmark::DoNotOptimize(last);
        benchmark::ClobberMemory();
    }
    return std::strncmp(text(last), wanted, length) == 0;
}

const char* TextOf(std::time_t instant) {
    static char text[32];
    std::tm local;
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", localtime_r(&instant, &local));
    return text;
}
const char* TextOf(const ZQDateTime& value) { return value.Format(nullptr, 0); }
constexpr std::size_t DateOnly = 10, WholeText = 19;
constexpr auto Text = [](const auto& value) { return TextOf(value); };
constexpr auto Itself = [](const char* text) { return text; };

void AddNow() {
    const auto add = [](const char* who, auto make, auto text) {
        Add("now", who, [make, text](benchmark::State& state, const Setting&) {
            const std::string today = TextOf(std::time(nullptr));
            return Repeat(state, today.c_str(), DateOnly, make, text);
        });
    };
    add(
        "ZQDateTime", [] { return ZQDateTime(); }, Text);
    add(
        "floor: clock_gettime, localtime_r",
        [] {
            timespec now;
            clock_gettime(CLOCK_REALTIME, &now);
            std::tm local;
            return *localtime_r(&now.tv_sec, &local);
        },
        [](std::tm local) { return TextOf(std::mktime(&local)); });
#ifdef ZQ_HAVE_ABSL
    Add("now", "absl::Time", [](benchmark::State& state, const Setting&) {
        const absl::TimeZone zone = absl::LocalTimeZone();
        const std::string today = TextOf(std::time(nullptr));
        std::string text;
        return Repeat(
            state, today.c_str(), 8, [zone] { return absl::ToCivilSecond(absl::Now(), zone); },
            [&text](absl::CivilSecond second) { return (text = absl::FormatCivilTime(second)).c_str(); });
    });
#endif
#ifdef ZQ_HAVE_GLIB
    Add("now", "GDateTime", [](benchmark::State& state, const Setting&) {
        gint64 last = 0;
        for (auto _ : state) {
            GDateTime* const now = g_date_time_new_now_local();
            benchmark::DoNotOptimize(last = g_date_time_to_unix(now));
            g_date_time_unref(now);
        }
        return last >= std::time(nullptr) - 60;
    });
#endif
}

void AddFormat() {
    Add("format", "ZQDateTime", [](benchmark::State& state, const Setting& setting) {
        const ZQDateTime value(setting.Instant());
        char text[32];
        return Repeat(
            state, setting.text, WholeText, [&] { return value.Format(text, sizeof text); }, Itself);
    });
    Add("format", "floor: digits by hand", [](benchmark::State& state, const Setting& setting) {
        std::tm local = setting.Local();
        benchmark::DoNotOptimize(&local);
        char text[32];
        return Repeat(
            state, setting.text, WholeText,
            [&] {
                const int year = local.tm_year + 1900;
                char* at = TwoDigits(TwoDigits(text, year / 100), year % 100);
                *at++ = '-';
                at = TwoDigits(at, local.tm_mon + 1);
                *at++ = '-';
                at = TwoDigits(at, local.tm_mday);
                *at++ = ' ';
                at = TwoDigits(at, local.tm_hour);
                *at++ = ':';
                at = TwoDigits(at, local.tm_min);
                *at++ = ':';
                *TwoDigits(at, local.tm_sec) = '\0';
                return text;
            },
            Itself);
    });
    Add("format", "strftime", [](benchmark::State& state, const Setting& setting) {
        const std::tm local = setting.Local();
        char text[32];
        return Repeat(
            state, setting.text, WholeText,
            [&] {
                std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
                return text;
            },
            Itself);
    });
#ifdef ZQ_HAVE_FMT
    Add("format", "fmt", [](benchmark::State& state, const Setting& setting) {
        const std::tm local = setting.Local();
        char text[32];
        return Repeat(
            state, setting.text, WholeText,
            [&] {
                *fmt::format_to(text, "{:%Y-%m-%d %H:%M:%S}", local) = '\0';
                return text;
            },
            Itself);
    });
#endif
#ifdef ZQ_HAVE_ABSL
    Add("format", "absl::Time", [](benchmark::State& state, const Setting& setting) {
        const absl::CivilSecond second(2024, setting.month, setting.day, setting.hour, setting.minute, setting.second);
        std::string text;
        const absl::TimeZone utc = absl::UTCTimeZone();
        const absl::Time instant = absl::FromCivil(second, utc);
        return Repeat(
            state, setting.text, WholeText,
            [&] { return (text = absl::FormatTime("%Y-%m-%d %H:%M:%S", instant, utc)).c_str(); }, Itself);
    });
#endif
#ifdef ZQ_HAVE_GLIB
    Add("format", "GDateTime", [](benchmark::State& state, const Setting& setting) {
        GDateTime* const value = g_date_time_new_from_unix_local(setting.Instant());
        char* text = nullptr;
        const bool right = Repeat(
            state, setting.text, WholeText,
            [&] {
                g_free(text);
                return text = g_date_time_format(value, "%Y-%m-%d %H:%M:%S");
            },
            Itself);
        g_free(text);
        g_date_time_unref(value);
        return right;
    });
#endif
}

void AddParse() {
    Add("parse", "ZQDateTime", [](benchmark::State& state, const Setting& setting) {
        ZQDateTime value(0L);
        return Repeat(
            state, setting.text, WholeText, [&] { return value.SetFromFormat(setting.text); },
            [&](bool done) { return done ? TextOf(value) : "not parsed"; });
    });
    Add("parse", "floor: digits by hand", [](benchmark::State& state, const Setting& setting) {
        return Repeat(
            state, setting.text, WholeText,
            [&] {
                const char* at = setting.text;
                std::tm local = {};
                local.tm_year = Number(at, 4) - 1900;
                local.tm_mon = Number(at, 2) - 1;
                local.tm_mday = Number(at, 2);
                local.tm_hour = Number(at, 2);
                local.tm_min = Number(at, 2);
                local.tm_sec = Number(at, 2);
                local.tm_isdst = -1;
                return local;
            },
            [](std::tm local) { return TextOf(std::mktime(&local)); });
    });
    // The date is brought into the calendar, then the time, as ours does: a caller may have parsed either alone.
    Add("parse", "strptime, mktime, twice", [](benchmark::State& state, const Setting& setting) {
        return Repeat(
            state, setting.text, WholeText,
            [&] {
                std::tm local = {};
                const char* const rest = strptime(setting.text, "%Y-%m-%d", &local);
                local.tm_isdst = 0;
                std::mktime(&local);
                strptime(rest, " %H:%M:%S", &local);
                std::mktime(&local);
                return local;
            },
            [](const std::tm& local) {
                static char text[32];
                std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
                return text;
            });
    });
#ifdef ZQ_HAVE_ABSL
    Add("parse", "absl::Time", [](benchmark::State& state, const Setting& setting) {
        std::string text;
        return Repeat(
            state, setting.text, WholeText,
            [&] {
                absl::Time instant;
                absl::ParseTime("%Y-%m-%d %H:%M:%S", setting.text, absl::UTCTimeZone(), &instant, nullptr);
                return instant;
            },
            [&](absl::Time instant) {
                return (text = absl::FormatTime("%Y-%m-%d %H:%M:%S", instant, absl::UTCTimeZone())).c_str();
            });
    });
#endif
#ifdef ZQ_HAVE_GLIB
    Add("parse", "GDateTime", [](benchmark::State& state, const Setting& setting) {
        GTimeZone* const zone = g_time_zone_new_local();
        std::time_t last = 0;
        for (auto _ : state) {
            GDateTime* const value = g_date_time_new_from_iso8601(setting.text, zone);
            benchmark::DoNotOptimize(last = g_date_time_to_unix(value));
            g_date_time_unref(value);
        }
        g_time_zone_unref(zone);
        return last == setting.Instant();
    });
#endif
}

/// A day on and a day back, in turns, so that the value stays where the setting is. In summer ours keeps to standard time and
/// comes out later, as documented, so what is checked is how far it has come.
void AddDays() {
    Add("add days", "ZQDateTime", [](benchmark::State& state, const Setting& setting) {
        const ZQDateTime start(setting.Instant());
        ZQDateTime value = start;
        bool done = true;
        for (auto _ : state) {
            value = start;
            done = value.AddDays(1) && done;
            benchmark::DoNotOptimize(value);
        }
        const long on = value.GetEpochTime() - start.GetEpochTime();
        return done && on >= 86400 && on <= 86400 + 3600;
    });
    Add("add days", "floor: seconds, localtime_r", [](benchmark::State& state, const Setting& setting) {
        const std::time_t start = setting.Instant();
        std::tm local = {};
        for (auto _ : state) {
            const std::time_t next = start + 86400;
            localtime_r(&next, &local);
            benchmark::DoNotOptimize(local);
        }
        return local.tm_mday == setting.day + 1;
    });
    Add("add days", "mktime", [](benchmark::State& state, const Setting& setting) {
        std::tm local = {};
        for (auto _ : state) {
            local = setting.Local();
            ++local.tm_mday;
            benchmark::DoNotOptimize(std::mktime(&local));
        }
        return local.tm_mday == setting.day + 1;
    });
#ifdef ZQ_HAVE_GLIB
    Add("add days", "GDateTime", [](benchmark::State& state, const Setting& setting) {
        GDateTime* const start = g_date_time_new_from_unix_local(setting.Instant());
        int day = 0;
        for (auto _ : state) {
            GDateTime* const next = g_date_time_add_days(start, 1);
            benchmark::DoNotOptimize(day = g_date_time_get_day_of_month(next));
            g_date_time_unref(next);
        }
        g_date_time_unref(start);
        return day == setting.day + 1;
    });
#endif
}

template <class Value, class Less> bool
Compare(benchmark::State& state, const Value& early, const Value& late, Less less) {
    bool right = true;
    for (auto _ : state) {
        right = less(early, late) && right;
        benchmark::DoNotOptimize(right);
        benchmark::ClobberMemory();
    }
    return right && !less(late, early);
}

void AddCompare() {
    Add("compare", "ZQDateTime", [](benchmark::State& state, const Setting& setting) {
        return Compare(state, ZQDateTime(setting.Instant()), ZQDateTime(setting.Instant() + 1), std::less<>());
    });
    Add("compare", "floor: two instants", [](benchmark::State& state, const Setting& setting) {
        return Compare(state, setting.Instant(), setting.Instant() + 1, std::less<>());
    });
    Add("compare", "mktime of both", [](benchmark::State& state, const Setting& setting) {
        std::tm later = setting.Local();
        ++later.tm_sec;
        return Compare(state, setting.Local(), later,
                       [](std::tm a, std::tm b) { return std::mktime(&a) < std::mktime(&b); });
    });
#ifdef ZQ_HAVE_ABSL
    Add("compare", "absl::Time", [](benchmark::State& state, const Setting& setting) {
        const absl::Time time = absl::FromTimeT(setting.Instant());
        return Compare(state, time, time + absl::Seconds(1), std::less<>());
    });
#endif
#ifdef ZQ_HAVE_GLIB
    Add("compare", "GDateTime", [](benchmark::State& state, const Setting& setting) {
        GDateTime* const early = g_date_time_new_from_unix_local(setting.Instant());
        GDateTime* const late = g_date_time_add_seconds(early, 1);
        const bool right =
            Compare(state, early, late, [](GDateTime* a, GDateTime* b) { return g_date_time_compare(a, b) < 0; });
        g_date_time_unref(late);
        g_date_time_unref(early);
        return right;
    });
#endif
}
}  // namespace

void bench::Register() {
    AddNow();
    AddFormat();
    AddParse();
    AddDays();
    AddCompare();
}
