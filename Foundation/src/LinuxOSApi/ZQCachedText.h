#ifndef ZQCACHEDTEXT_H
#define ZQCACHEDTEXT_H

#include "ZQFork.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <new>
#include <type_traits>

/// A text that is found out once in a process and never changes or goes afterwards; an empty one is found out again. For
/// static objects: it is ready before the first constructor runs and has no destructor, so the lock is one of the C++ library.
template <size_t Size> class ZQCachedText
{
public:
    /// The text, or "" while there is none. Threads that come at the same time may all read; the first one's text stays.
    /// @param read  `bool(char (&text)[Size])`: writes the text with its null character; `false` if there is none
    template <class Read> const char* Get(Read read)
    {
        if (!IsPresent())
        {
            char text[Size] = {};
            if (!read(text) || text[0] == '\0')
            {
                return "";  // not the buffer, which another thread may fill under the caller's eyes
            }
            Publish(text);
        }
        return m_szText;
    }

private:
    // Acquire: who sees the first character, which is written last, sees the others.
    bool IsPresent() const
    {
        return ZQAcquireLoad(m_szText[0]) != '\0';
    }
    void Publish(const char (&text)[Size])
    {
        ZQFork::StartOver(m_nFork, [this] { new (&m_mutex) std::mutex; });
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!IsPresent())
        {
            memcpy(m_szText + 1, text + 1, Size - 1);
            ZQReleaseStore(m_szText[0], text[0]);
        }
    }

    static_assert(std::is_trivially_destructible<std::mutex>::value, "callers may come after the last destructor");

    std::mutex m_mutex;
    int m_nFork = 0;
    char m_szText[Size] = {};
};

#endif
