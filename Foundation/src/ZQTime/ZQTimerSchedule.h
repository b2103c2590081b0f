#ifndef ZQTIMERSCHEDULE_H
#define ZQTIMERSCHEDULE_H

#include <cstddef>
#include <vector>

class ZQTimer;

/// The started timers and when each is due, packed: a look reads one row of memory instead of every timer, and nothing at all
/// while none is due. To start or stop a timer costs the same however many there are.
/// Threads: one at a time. Times are ticks of ZQDateTime::GetTickCount().
class ZQTimerSchedule
{
public:
    /// A started timer.
    struct Entry
    {
        ZQTimer* pTimer;
        std::size_t* place;  // the timer's note of where this entry is
        unsigned long due;
    };
    /// Where a timer is that was never taken up.
    static constexpr std::size_t NoPlace = static_cast<std::size_t>(-1);

    ZQTimerSchedule();
    /// Takes up @p pTimer, which is not in here.
    /// @param place  where it is kept, written whenever that changes; belongs to the timer
    /// @exception std::bad_alloc  then nothing has changed
    void Add(ZQTimer* pTimer, std::size_t* place, unsigned long due);
    /// Drops @p pTimer, which was last at @p place. Nothing happens if it is not in here any more, since a Clear() or in a
    /// forked child.
    void Remove(const ZQTimer* pTimer, std::size_t place);
    /// Drops all; their places are left as they are.
    void Clear();
    /// Sets when @p entry is due next. To be called for every entry that Due() returns, also for one that stays due: the first
    /// tick that is kept leaves them out.
    void SetDue(Entry& entry, unsigned long due);
    /// The timers that are due at @p now, in ascending order of their addresses. Valid until the next call of anything but
    /// SetDue().
    const std::vector<Entry*>& Due(unsigned long now);

private:
    void FindDue(unsigned long now);
    void Sort();

    std::vector<Entry> m_vecEntries;
    std::vector<Entry*> m_vecFound;
    unsigned long m_nEarliest;  // no timer is due before this tick; it may be too early, never too late
};

#endif
