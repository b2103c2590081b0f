#ifndef ZQNOCANCEL_H
#define ZQNOCANCEL_H

#include <pthread.h>

/// Keeps the calling thread from being cancelled: for destructors, out of which nothing may unwind, and for waits that would
/// leave something half done. A cancellation that comes meanwhile takes effect at the next wait after it.
class ZQNoCancel
{
public:
    ZQNoCancel() : m_nBefore(PTHREAD_CANCEL_ENABLE)
    {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_nBefore);
    }
    ~ZQNoCancel()
    {
        pthread_setcancelstate(m_nBefore, nullptr);
    }
    ZQNoCancel(const ZQNoCancel&) = delete;
    ZQNoCancel& operator=(const ZQNoCancel&) = delete;

private:
    int m_nBefore;
};

#endif
