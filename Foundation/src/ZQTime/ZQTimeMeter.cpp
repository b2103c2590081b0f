#include "ZQTime.h"

ZQTimeMeter::ZQTimeMeter()
{
    Reset();
}

ZQTimeMeter::~ZQTimeMeter() = default;

void ZQTimeMeter::Reset()
{
    m_nStartTick = ZQDateTime::GetTickCount();
}

void ZQTimeMeter::Reset(unsigned long tick)
{
    m_nStartTick = tick;
}

unsigned long ZQTimeMeter::GetElapsed() const
{
    const unsigned long now = ZQDateTime::GetTickCount();
    if (m_nStartTick <= now)
    {
        return now - m_nStartTick;
    }
    m_nStartTick = now;
    return 0;
}
