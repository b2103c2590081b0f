#include "ZQTimerSchedule.h"

#include <algorithm>
#include <functional>

void ZQTimerSchedule::Add(ZQTimer* pTimer, std::size_t* place, unsigned long due)
{
    const std::size_t count = m_vecDue.size();
    if (m_vecFound.capacity() == count)
    {
        // All that may be found has room beforehand, so that looking never fails.
        const std::size_t room = std::max<std::size_t>(16, 2 * count);
        m_vecDue.reserve(room);
        m_vecTimers.reserve(room);
        m_vecFound.reserve(room);
    }
    *place = count;
    m_vecDue.push_back(due);
    m_vecTimers.push_back(Timer{pTimer, place});
}

void ZQTimerSchedule::Remove(const ZQTimer* pTimer, std::size_t place)
{
    if (place >= m_vecTimers.size() || m_vecTimers[place].pTimer != pTimer)
    {
        return;
    }
    m_vecDue[place] = m_vecDue.back();
    m_vecTimers[place] = m_vecTimers.back();
    *m_vecTimers[place].place = place;
    m_vecDue.pop_back();
    m_vecTimers.pop_back();
}

void ZQTimerSchedule::Clear()
{
    m_vecDue.clear();
    m_vecTimers.clear();
}

unsigned long ZQTimerSchedule::GetDue(std::size_t place) const
{
    return m_vecDue[place];
}

void ZQTimerSchedule::SetDue(std::size_t place, unsigned long due)
{
    m_vecDue[place] = due;
}

const std::vector<ZQTimer*>& ZQTimerSchedule::Due(unsigned long now)
{
    m_vecFound.clear();
    for (std::size_t i = 0; i < m_vecDue.size(); ++i)
    {
        if (m_vecDue[i] <= now)
        {
            m_vecFound.push_back(m_vecTimers[i].pTimer);
        }
    }
    // Timers made one after the other mostly lie in order already.
    if (!std::is_sorted(m_vecFound.begin(), m_vecFound.end(), std::less<ZQTimer*>()))
    {
        std::sort(m_vecFound.begin(), m_vecFound.end(), std::less<ZQTimer*>());
    }
    return m_vecFound;
}
