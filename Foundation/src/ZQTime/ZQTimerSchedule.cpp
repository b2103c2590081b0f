#include "ZQTimerSchedule.h"

#include <algorithm>
#include <climits>
#include <functional>

namespace
{
bool LiesBefore(const ZQTimerSchedule::Entry& one, const ZQTimerSchedule::Entry& other)
{
    return std::less<ZQTimer*>()(one.pTimer, other.pTimer);
}
}  // namespace

ZQTimerSchedule::ZQTimerSchedule() : m_nEarliest(ULONG_MAX)
{
}

void ZQTimerSchedule::Add(ZQTimer* pTimer, std::size_t* place, unsigned long due)
{
    const std::size_t count = m_vecEntries.size();
    if (m_vecFound.capacity() == count)
    {
        // All that may be found has room beforehand, so that looking never fails.
        const std::size_t room = std::max<std::size_t>(16, 2 * count);
        m_vecEntries.reserve(room);
        m_vecFound.reserve(room);
    }
    *place = count;
    m_vecEntries.push_back(Entry{pTimer, place, due});
    m_nEarliest = std::min(m_nEarliest, due);
}

void ZQTimerSchedule::Remove(const ZQTimer* pTimer, std::size_t place)
{
    if (place >= m_vecEntries.size() || m_vecEntries[place].pTimer != pTimer)
    {
        return;
    }
    m_vecEntries[place] = m_vecEntries.back();
    *m_vecEntries[place].place = place;
    m_vecEntries.pop_back();
    // The first tick stays: too early costs one look in vain.
}

void ZQTimerSchedule::Clear()
{
    m_vecEntries.clear();
}

void ZQTimerSchedule::SetDue(Entry& entry, unsigned long due)
{
    entry.due = due;
    m_nEarliest = std::min(m_nEarliest, due);
}

const std::vector<ZQTimerSchedule::Entry*>& ZQTimerSchedule::Due(unsigned long now)
{
    m_vecFound.clear();
    if (now < m_nEarliest)
    {
        return m_vecFound;
    }
    FindDue(now);
    const auto liesBefore = [](const Entry* one, const Entry* other) { return LiesBefore(*one, *other); };
    if (std::is_sorted(m_vecFound.begin(), m_vecFound.end(), liesBefore))
    {
        return m_vecFound;  // timers that are made one after the other mostly lie in order
    }
    if (m_vecFound.size() > m_vecEntries.size() / 4)
    {
        // To sort all costs little more, and the next look finds them in order.
        Sort();
        FindDue(now);
    }
    else
    {
        std::sort(m_vecFound.begin(), m_vecFound.end(), liesBefore);
    }
    return m_vecFound;
}

void ZQTimerSchedule::FindDue(unsigned long now)
{
    m_vecFound.clear();
    m_nEarliest = ULONG_MAX;
    for (Entry& entry : m_vecEntries)
    {
        if (entry.due <= now)
        {
            m_vecFound.push_back(&entry);
        }
        else
        {
            m_nEarliest = std::min(m_nEarliest, entry.due);
        }
    }
}

void ZQTimerSchedule::Sort()
{
    std::sort(m_vecEntries.begin(), m_vecEntries.end(), LiesBefore);
    for (std::size_t place = 0; place < m_vecEntries.size(); ++place)
    {
        *m_vecEntries[place].place = place;
    }
}
