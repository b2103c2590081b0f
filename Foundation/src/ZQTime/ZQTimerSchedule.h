#ifndef ZQTIMERSCHEDULE_H
#define ZQTIMERSCHEDULE_H

#include <cstddef>
#include <vector>

class ZQTimer;

/// The started timers and when each is due, packed: a look at ten thousand of them reads eighty kilobytes in a row instead of
/// every timer, and to start or stop one costs the same among any number.
/// Threads: one at a time. Times are ticks of ZQDateTime::GetTickCount().
class ZQTimerSchedule
{
public:
    /// Where a timer is that was never taken up.
    static constexpr std::size_t NoPlace = static_cast<std::size_t>(-1);

    /// Takes up @p pTimer, which is not in here.
    /// @param place  where it is kept, written whenever that changes; belongs to the timer
    /// @exception std::bad_alloc  then nothing has changed
    void Add(ZQTimer* pTimer, std::size_t* place, unsigned long due);
    /// Drops @p pTimer, which was last at @p place. Nothing happens if it is not in here any more, since a Clear() or in a
    /// forked child.
    void Remove(const ZQTimer* pTimer, std::size_t place);
    /// Drops all; their places are left as they are.
    void Clear();
    unsigned long GetDue(std::size_t place) const;
    void SetDue(std::size_t place, unsigned long due);
    /// The timers that are due at @p now, in ascending order of their addresses. Valid until the next call of anything but
    /// SetDue().
    const std::vector<ZQTimer*>& Due(unsigned long now);

private:
    struct Timer
    {
        ZQTimer* pTimer;
        std::size_t* place;
    };

    std::vector<unsigned long> m_vecDue;
    std::vector<Timer> m_vecTimers;  // whose times these are
    std::vector<ZQTimer*> m_vecFound;
};

#endif
