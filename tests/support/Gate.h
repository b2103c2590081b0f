#ifndef ZQTESTS_GATE_H
#define ZQTESTS_GATE_H

#include <condition_variable>
#include <mutex>

/// Counts arrivals; threads wait until there are enough. Where threads meet without sleeping.
class Gate {
public:
    void Arrive() {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_nArrivals;
        m_cond.notify_all();
    }
    void WaitFor(int nArrivals) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cond.wait(lock, [&] { return m_nArrivals >= nArrivals; });
    }
    int Arrivals() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_nArrivals;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    int m_nArrivals = 0;
};

#endif
