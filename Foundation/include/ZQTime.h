#ifndef ZQTIME_H
#define ZQTIME_H

/// @file
/// The calendar, clocks, elapsed time and timers.
///
/// | type         | use it for                                                                            |
/// |--------------|---------------------------------------------------------------------------------------|
/// | ZQDateTime   | a date and time of day in local time: now, shifted, compared, written and parsed      |
/// | ZQTimeMeter  | how long something takes                                                              |
/// | ZQTimer      | something that has to be done again and again                                         |
///
/// Where a bare number is wanted, ZQDateTime::GetTickCount() is the tick that ZQTimeMeter runs on: the monotonic clock,
/// which setting the wall clock does not move and which stands still while the machine is suspended.
/// ZQDateTime::GetEpochMilliseconds() is the wall clock.
///
/// @code
/// ZQTimeMeter meter;
/// ZQDateTime due(std::time(nullptr) + 14 * 86400L);      // in two weeks, summer or not
/// char text[32];
/// std::printf("due on %s\n", due.Format(DTF_YYYY_MM_DD, text, sizeof text));
/// std::printf("%lu ms\n", meter.GetElapsed());
///
/// ZQTimer::ModuleInit(0);
/// ZQTimer timer(1);
/// timer.Init(1000, [](ZQTimer&, void*) { std::puts("a second has passed"); }, nullptr);
/// timer.Start(false);
/// @endcode

#include "ZQDefine.h"
#include "ZQMutex.h"

#include <cstddef>
#include <ctime>

/// The layouts of ZQDateTime::Format() and ZQDateTime::SetFromFormat(), shown for 5 March 2024, 09:07:03.045. Any other value
/// may be passed and is refused.
///
/// Parsing goes by `sscanf(3)`: blanks may stand before every number, a number may have a sign, and what follows the last one
/// is not looked at. The split length is where the first part ends when two parts have no separator between them.
/// @ingroup datetimes
enum EnumDTFormat : int
{
    DTF_YYYY_MM_DD = 0,        ///< "2024-03-05"; parses "2024-3-5" too. Split length 10.
    DTF_M_D_Y = 1,             ///< "3/5/2024". Split length: the text's, at most 10, if it is longer than 4.
    DTF_YYYYMMDD = 2,          ///< "20240305"; parses at most 4, 2 and 2 characters. Split length 8.
    DTF_MM_DD_YYYY = 3,        ///< "03-05-2024"; parses at most 2, 2 and 4 characters. Split length 10.
    DTF_MM_SLASH_DD_YYYY = 4,  ///< "03/05/2024"; parses at most 2, 2 and 4 characters. Split length 10.
    DTF_HH_MM_SS = 50,         ///< "09:07:03"; parses "9:7:3" too. Split length 8.
    DTF_HH_MM_SS_MS = 51,      ///< "09:07:03.045"; parses at most 2, 2, 2 and 3 characters. Split length 12.
    DTF_HHMMSS = 52,           ///< "090703"; parses at most 2, 2 and 2 characters. Split length 6.
};

/// A date and time of day in the local time of the process, to the millisecond, with the day of the week.
///
/// It keeps the fields as they were given, 30 February too; what instant they name is asked of `mktime(3)` each time. Only
/// the day of the week always comes from there. The fields are read as text, by Format(), the instant by GetEpochTime().
///
/// | state   | how                                                    | IsValid() | Format()   |
/// |---------|--------------------------------------------------------|-----------|------------|
/// | valid   | made of the clock, of fields in range, of an instant in the local years 1970 to 2999 | `true`    | the text   |
/// | unset   | made of fields out of range                            | `false`   | null       |
/// | invalid | made of another instant, parsed or shifted to a field out of range | `false`   | null       |
///
/// Operations return whether they are done; if not, the value is as before, except after a failed SetFromFormat(). No
/// operation on a value throws or ends the process, and none prints but for what the command of SetLocalTime() may write.
///
/// Summer: fields are always taken as standard time. In a zone with daylight saving a summer value therefore names an
/// instant late by the saving, usually an hour: GetEpochTime() is that much too large, each shift by days, hours, seconds or
/// whole seconds of milliseconds, be it 0 seconds, moves the value on by it, and SetLocalTime() sets the clock ahead. In the
/// last hour of a summer day the day of the week is that of the next day, and a shift by months goes a day on as well, to the
/// first of the month where it was the last. (Where a zone's rules call winter the changed time, it is winter values that are
/// off.) Values are
/// compared alike, so their order is that of their fields, but the hour that occurs twice in autumn is not told apart. To be
/// exact in such a zone, keep instants as `time_t`, calculate with those and show them with SetEpochTime(), which knows
/// summer.
///
/// The zone is that of `tzset(3)`: call that after a change of `TZ`.
///
/// Cost: the calendar is the platform's. GetEpochTime(), Assign(), parsing (two where the first of two parts lies before 1971
/// or after 9999 with what was there) and the shifts by years and months are one call of `mktime(3)`, the shifts by days, hours and seconds one more of `localtime_r(3)`, and a comparison is two of `mktime(3)`.
/// Where `TZ` is not set, each `mktime(3)` of the GNU library makes a system call, to see whether /etc/localtime has
/// changed, and takes five times as long: a program that compares or parses much sets `TZ` to
/// `:/etc/localtime`, which is the same zone. Format() calls nothing.
///
/// Arithmetic on fields and arguments is in 32 bits and wraps.
///
/// Threads: an object belongs to one thread at a time, also for const operations: Format() without a buffer writes into the
/// object. The static functions may be called from any thread. Lifetime: copied freely; it owns nothing.
/// @ingroup datetimes
class ZQ_API ZQDateTime
{
public:
    /// The current local time, as by GetLocalTime().
    ZQDateTime();
    /// The given fields, as by Assign(); unset if that refuses them.
    ZQDateTime(int year, int month, int day, int hour, int minute, int second, int millisecond);
    /// The local time of an instant, as by SetEpochTime(); unset if that refuses it.
    /// @param epochSeconds  seconds since 1970-01-01 UTC
    ZQDateTime(const long& epochSeconds);
    /// Copies all fields and the text of the last Format() without a buffer.
    ZQDateTime(const ZQDateTime& other);
    /// Copies all fields and the text of the last Format() without a buffer.
    ZQDateTime& operator=(const ZQDateTime& other);
    /// Does nothing.
    ~ZQDateTime();

    /// @name Setting and reading
    /// @{

    /// Takes the fields as they are given; the day of the week is that of the day they come to: 30 February 2023 is kept and
    /// has the day of the week of 2 March.
    /// @param year         1970 to 2999
    /// @param month        1 to 12
    /// @param day          1 to 31, in every month
    /// @param hour         0 to 23
    /// @param minute       0 to 59
    /// @param second       0 to 59
    /// @param millisecond  0 to 999
    /// @return `false`, with nothing changed, if a field is out of range, `mktime(3)` fails, or the fields name the instant
    ///         -1, a second before the epoch, which cannot be told from its failure
    bool Assign(int year, int month, int day, int hour, int minute, int second, int millisecond);
    /// Whether the day of the week is known and each field in the range of Assign(), but for the month, which may be 0 to 59:
    /// month 0 is December of the year before, month 13 January of the year after.
    bool IsValid() const;
    /// Loads the wall clock, which is right in summer too. @return `false`, with nothing changed, if it cannot be read
    bool GetLocalTime();
    /// Sets the system clock to this value, without its milliseconds, and has "hwclock -w" copy it into the hardware clock,
    /// whatever comes of that. Mind summer, above. Over `settimeofday(2)` and `system(3)`.
    /// @return `false` if the clock could not be set, usually for want of privilege
    bool SetLocalTime();
    /// The instant that the fields name in standard time: seconds since 1970-01-01 UTC, without the milliseconds. Over
    /// `mktime(3)`.
    /// @return -1 if it cannot be expressed; a second before the epoch is the same number
    long GetEpochTime() const;
    /// The same as GetEpochTime().
    long Timestamp() const;
    /// Loads the local time of an instant; the milliseconds become 0. Over `localtime_r(3)`, with summer taken into account.
    /// @param epochSeconds  seconds since 1970-01-01 UTC; any, though the value is valid in the local years 1970 to 2999 only
    /// @return `false`, with nothing changed, if its year cannot be expressed
    bool SetEpochTime(long epochSeconds);
    /// Whether the hour is below 12.
    bool IsAM() const;
    /// Whether the hour is above 11.
    bool IsPM() const;
    /// @}

    /// @name Shifting
    /// A negative @p n shifts the other way, with these exceptions: for months and milliseconds take the mirror operation
    /// instead, since they round differently.
    /// @{

    /// Changes the year alone: 29 February 2024 plus a year is 29 February 2025, with the day of the week of 1 March. For
    /// 28 February use SubMonths() with `-12 * n`.
    /// @return `false`, with nothing changed, outside 1970 to 2999 or where Assign() fails on the instant
    bool AddYears(int n);
    /// The mirror of AddYears().
    bool SubYears(int n);
    /// Goes @p n months on and cuts the day to the length of the month, February's being 28 in every year: where the
    /// 29th is wanted, Assign() it.
    ///
    /// December comes out as month 0 of the year after, which prints as "00" though it is the right instant; June plus 6
    /// months is an example, and so is December plus 0. Where that may happen, SubMonths() with `-n` gives month 12 instead.
    /// Going back past January with a negative @p n gives month 0, or a negative one, which is invalid: use SubMonths(). With
    /// a month outside 1 to 12 the day is not cut but becomes the regular one, so that 31 March less 4 months names a day in
    /// November. The year has no bounds.
    /// @return `false`, with nothing changed, where Assign() fails on the instant
    bool AddMonths(int n);
    /// Goes @p n months back and cuts the day as AddMonths() does. With a negative @p n the month may become 13 to 23, which
    /// is valid but prints as it is, with the regular day instead of a cut one. No bounds on the year.
    /// @return `false`, with nothing changed, where Assign() fails on the instant
    bool SubMonths(int n);
    /// Goes @p n times 86400 seconds on, which makes every field regular: 30 February plus 0 days is a day in March. Mind
    /// summer, above.
    /// @param n  at most 24855 either way: more wraps
    /// @return `false`, with nothing changed, if the year cannot be expressed. Fields that name no instant are taken for the
    ///         instant -1.
    bool AddDays(int n);
    /// The mirror of AddDays().
    bool SubDays(int n);
    /// Goes @p n times 3600 seconds on, as AddDays().
    /// @param n  at most 596523 either way: more wraps
    /// @return `false`, with nothing changed, if the year cannot be expressed
    bool AddHours(int n);
    /// The mirror of AddHours().
    bool SubHours(int n);
    /// Goes @p n seconds on, as AddDays(). @return `false`, with nothing changed, if the year cannot be expressed
    bool AddSeconds(int n);
    /// The mirror of AddSeconds().
    bool SubSeconds(int n);
    /// Adds to the milliseconds and carries whole seconds as AddSeconds() does. Without a carry no other field is touched.
    ///
    /// With a negative @p n the milliseconds may end up negative, which is invalid: 0 plus -1 is -1. Use SubMilliseconds().
    /// @return `false`, with nothing changed, if the carry fails
    bool AddMilliseconds(int n);
    /// Subtracts from the milliseconds and borrows whole seconds as SubSeconds() does, so that 0 to 999 remain, whatever the
    /// sign of @p n. Without a borrow no other field is touched.
    /// @return `false`, with nothing changed, if the borrow fails
    bool SubMilliseconds(int n);
    /// @}

    /// @name Comparing
    /// By GetEpochTime() and the milliseconds; 30 February equals the day in March that it comes to.
    /// @{

    /// Whether this is earlier.
    bool operator<(const ZQDateTime& other) const;
    /// Whether this is later.
    bool operator>(const ZQDateTime& other) const;
    /// Whether both name the same millisecond.
    bool operator==(const ZQDateTime& other) const;
    /// Whether they do not.
    bool operator!=(const ZQDateTime& other) const;
    /// @}

    /// @name Writing
    /// Without a buffer the text goes into the object's own, of 64 characters, and stays until its next Format() without one.
    ///
    /// A buffer needs two characters more than the text, not one: a text that has one too few loses its last character.
    ///
    ///     Format(DTF_YYYY_MM_DD, buf, 10) => "2024-03-"     11 => "2024-03-0"     12 => "2024-03-05"
    /// @{

    /// Writes the date or the time; a text that is too long is cut.
    /// @param fmt  the layout
    /// @param buf  receives the text, all of its @p len bytes being zeroed first; null for the object's own
    /// @param len  size of @p buf in bytes; not looked at without one
    /// @return the text, or null: with nothing written if the value is not valid or @p len is below 1, with the buffer zeroed
    ///         if @p fmt is unknown
    char* Format(EnumDTFormat fmt, char* buf, int len) const;
    /// Writes two layouts with a text between them.
    /// @param dateFmt  the layout of the first part; a time is fine too
    /// @param timeFmt  the layout of the second part; a date is fine too
    /// @param sep      what stands between them; not null, and not part of what is written to
    /// @param buf      receives the text, all of its @p len bytes being zeroed first; null for the object's own
    /// @param len      size of @p buf in bytes; not looked at without one
    /// @return the text, less its last character if it just fits with the null behind it; or null, with nothing written, if
    ///         it does not fit, the value is not valid or a layout is unknown
    char* Format(EnumDTFormat dateFmt, EnumDTFormat timeFmt, const char* sep, char* buf, int len) const;
    /// Writes #DTF_YYYY_MM_DD, a blank and #DTF_HH_MM_SS, for which @p len is 21 at least.
    char* Format(char* buf, int len) const;
    /// @}

    /// @name Parsing
    /// A date leaves the time of day as it was, a time the date, and both the milliseconds, but for #DTF_HH_MM_SS_MS. So parse
    /// into `ZQDateTime(0L)` to have them 0: an object made by default has those of now, and an unset one stays invalid.
    ///
    /// Numbers are not checked: "2024-13-45" is done and stored, with the day of the week of what it comes to. Ask IsValid().
    /// One beyond 32 bits comes out as another, perhaps a valid one.
    /// @{

    /// Parses a date or a time.
    /// @param text  may be null, which is refused
    /// @param fmt   the layout
    /// @return `false` if @p text has not all the numbers, of which those before the gap are stored all the same, if @p fmt is
    ///         unknown, or where Assign() fails on the instant, after which the year is 0 and the value invalid
    bool SetFromFormat(const char* text, EnumDTFormat fmt);
    /// Parses two parts, one after the other. Each is brought into the calendar with the fields that the other left.
    /// @param text       at most 127 characters; may be null, which is refused
    /// @param firstFmt   the layout of the part before the separator
    /// @param secondFmt  the layout of the part behind it
    /// @param sep        parts the text where it first occurs; if it is null or empty, the split length of @p firstFmt does
    /// @return `false` if @p text is too long or cannot be parted, with nothing changed, or if a part cannot be parsed. A text
    ///         shorter than the split length is all first part, which is parsed before the empty second part fails.
    bool SetFromFormat(const char* text, EnumDTFormat firstFmt, EnumDTFormat secondFmt, const char* sep);
    /// Parses #DTF_YYYY_MM_DD, a blank and #DTF_HH_MM_SS.
    bool SetFromFormat(const char* text);
    /// @}

    /// @name Clocks
    /// @{

    /// Milliseconds of the monotonic clock (`CLOCK_MONOTONIC`), from a start that means nothing. It stands still while the
    /// machine is suspended: where that time counts, compare GetEpochMilliseconds(), or read `CLOCK_BOOTTIME`. Ends the process
    /// if the clock cannot be read.
    static unsigned long GetTickCount();
    /// The same clock in the same unit as GetTickCount().
    static unsigned long GetPerformanceCounter();
    /// The milliseconds between two ticks, of which the low 32 bits are given. Who has the whole ticks subtracts them, which is
    /// always right.
    /// @return `later - earlier`; where the tick has passed 2^32 in between, one less than that
    static unsigned int CountElapsed(unsigned int later, unsigned int earlier);
    /// Milliseconds of the wall clock since 1970-01-01 UTC, or -1 if it cannot be read. Over `gettimeofday(2)`.
    static long GetEpochMilliseconds();
    /// @}

private:
    struct _StruLayout;

    char* Write(EnumDTFormat fmt, char* out) const;
    std::size_t LengthOf(const _StruLayout& layout) const;
    bool ReadFields(const char* text, EnumDTFormat fmt);
    bool FindWeekDay();
    bool IsInstantSure() const;
    void Load(const std::tm& local, int millisecond);
    bool MoveToYear(int year);
    bool MoveToMonth(int year, int month);
    bool MoveToInstant(long epochSeconds);
    long EpochKey() const;

    int m_nYear = -1;
    int m_nMonth = -1;
    int m_nDay = 0;
    int m_nHour = -1;
    int m_nMinute = -1;
    int m_nSecond = 0;
    int m_nMilliSecond = -1;
    int m_nWeekDay = -1;
    mutable char m_szText[64] = {};
};

/// A stopwatch in milliseconds of the monotonic clock.
///
/// Threads: none of this locks, and reading can write: share one only under a lock.
/// @ingroup clocks
class ZQ_API ZQTimeMeter
{
public:
    /// Starts now.
    ZQTimeMeter();
    ~ZQTimeMeter();

    /// Starts anew, now.
    void Reset();
    /// Starts at @p tick, a value of ZQDateTime::GetTickCount(); 0 makes the whole tick elapsed time.
    void Reset(unsigned long tick);
    /// The milliseconds since the start. Where the start lies in the future the result is 0, and the meter starts now.
    unsigned long GetElapsed() const;

private:
    mutable unsigned long m_nStartTick;
};

/// A periodic timer. Once started, its callback runs again and again, on a worker of the timer module, each time at least an
/// interval after it was handed to the workers before, and never twice at once: where a callback takes longer than the
/// interval, the next run follows when it has returned.
///
/// | state       | Init()  | Start()                 | Stop()                            | destruction      |
/// |-------------|---------|-------------------------|-----------------------------------|------------------|
/// | made        | `true`  | `false`                 | -                                 | at once          |
/// | initialised | `false` | `true`, started         | -                                 | at once          |
/// | started     | `false` | `true`, nothing changes | initialised; may wait for its end | as by Stop(true) |
///
/// One service thread looks at all started timers every 5 ms, so a callback starts up to that much late, and later where
/// all workers are busy. The next interval counts from there, so the delays add up: the number of runs is no clock; a
/// ZQTimeMeter is. The interval runs on the monotonic clock, which stands still while the machine is suspended: a callback that
/// has to notice that compares ZQDateTime::GetEpochMilliseconds().
///
/// Threads: any operation from any thread, also from inside callbacks, which run without a lock of the library held. A
/// callback may stop, start and destroy its own timer; it must not touch a timer that it has destroyed, and it must neither
/// throw nor end its thread. What Stop() does not wait for is its caller's care: see there.
///
/// In a forked child of a process with threads the module does not run, and the timers of the parent are stopped: ModuleInit()
/// and Start() start them anew. A ModuleUninit() that belongs to the parent's ModuleInit() does nothing
/// there while nobody in the child has taken up the module; else it cannot be told from the child's own.
///
/// A module that still runs when the library is unloaded, by `dlclose(3)` or `exit(3)`, is ended as by the last
/// ModuleUninit(); no other thread may use timers from then on.
/// @ingroup clocks
class ZQ_API ZQTimer
{
public:
    /// What a timer runs: it gets the timer and the pointer of Init().
    typedef void (*Callback)(ZQTimer& timer, void* user);

    /// Takes up the timer module: starts the service thread, called `ZQTimer`, and makes the pool of workers if nobody has.
    /// It is counted. A call while another thread takes the module down waits for that, so it must not come from inside a
    /// callback unless the module is held otherwise.
    /// @param nThreads  the most workers, less than 1: 2 for each processor and 3 more; of the first user alone
    /// @return `false` if the platform has no service thread to give: then it does not count. A worker that cannot be started
    ///         later ends the process.
    static bool ModuleInit(int nThreads);
    /// Gives up the module; the last user's call waits for running callbacks and stops the service thread and the workers.
    /// Timers that are still started do not run any more, also not when the module is taken up again, until they are stopped
    /// and started anew. Not the last one from inside a callback, whose thread it would free. One call more than ModuleInit()
    /// succeeded ends the process with "v>=0".
    static void ModuleUninit();

    /// Makes a timer that does nothing yet.
    /// @param id  kept for GetTimerID(), without meaning for the library
    explicit ZQTimer(long id);
    /// Stops the timer as by Stop(true), again if its callback has started it meanwhile. A callback that Stop() does not wait
    /// for, this does not wait for either.
    ~ZQTimer();
    ZQTimer(const ZQTimer&) = delete;
    ZQTimer& operator=(const ZQTimer&) = delete;

    /// Says what the timer does, once in its life.
    /// @param intervalMs  milliseconds, 0 or more; 0: at each look of the service thread
    /// @param callback    not null
    /// @param user        handed to @p callback
    /// @return `false`, with nothing changed, for a negative interval, a null callback or a second call
    bool Init(int intervalMs, Callback callback, void* user);
    /// Starts the timer. Whether the module runs is not looked at: without it nothing happens until it does.
    /// @param fireNow  `true`: the first run is due at once (for an interval longer than the machine is up, when that has
    ///                 passed); `false`: after one interval
    /// @return `false` before Init()
    bool Start(bool fireNow);
    /// Stops the timer; a run that was due and that no worker has taken yet is taken back.
    ///
    /// A timer that is not started is left alone, whatever @p wait says. So when Stop(false) was called before, when another
    /// thread stops at the same time, or when the callback has stopped its timer itself, a callback may still be running, or
    /// about to begin, after this: do not destroy the timer or what its callback uses until it has returned. Nor is a
    /// callback waited for once the module has been given up. A callback that starts its own timer undoes the stop that waits
    /// for it.
    /// @param wait  `true`: return when a running callback has returned, but not from inside it
    void Stop(bool wait);
    /// The identifier given at construction.
    long GetTimerID() const;
    /// Runs the callback once; only the module's workers call it.
    void RunCallback();

private:
    friend class ZQTimerGlobal;
    struct _StruShared;

    void AfterFork();
    bool IsStarted();
    unsigned long DueAfter(unsigned long start) const;

    const long m_lTimerID;
    bool m_bStarted;
    int m_nInterval;
    Callback m_pCallback;
    void* m_pUser;
    ZQMutex m_mutex;
    _StruShared* m_pShared;
    ZQTimeMeter m_meter;  // when the timer was handed out last
    int m_nFork;          // in which process it was made
};

#endif
