#ifndef ZQTIMERSCHEDULE_H
#define ZQTIMERSCHEDULE_H

#include <cstddef>
#include <vector>

class ZQTimer;

/// The started timers and when each is due, packed: a look at them reads a row of memory instead of every timer, or nothing while
/// none is due, and to start or stop one costs the same among any number.
/// Threads: one at a time. Times are ticks of ZQDateTime::GetTickCount().
class ZQTimerSchedule
{
public:
    /// A started timer.
    struct Entry
    {
        ZQTimer* pTimer;
        std::size_t* place;  // where this is kept; belongs to the timer
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
    /// Sets when @p entry is due next, which every one that Due() returns needs: also one that stays due.
    void SetDue(Entry& entry, unsigned long due);
    /// The timers that are due at @p now, in ascending order of their addresses. Valid until the next call of anything but
    /// SetDue().
    const std::vector<Entry*>& Due(unsigned long now);

private:
    void FindDue(unsigned long now);
    void Sort();

    std::vector<Entry> m_vecEntries;
    std::vector<Entry*> m_vecFound;
    unsigned long m_nEarliest;  // none is due before
};

#endif
