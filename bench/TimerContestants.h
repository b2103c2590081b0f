#ifndef ZQ_BENCH_TIMERCONTESTANTS_H
#define ZQ_BENCH_TIMERCONTESTANTS_H

/// Sets of periodic timers, each of which calls RunTimer(index). Start() and Stop() return the nanoseconds that it took to start
/// or stop all of them, threads not counted. Loops that belong to their thread start their timers there.

#include "Bench.h"

#include <ZQTime.h>

#include <memory>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#ifdef ZQ_HAVE_BOOST
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#endif
#ifdef ZQ_HAVE_UV
#include <uv.h>
#endif

/// What the timers do in the running contest; set before they are made.
extern void (*RunTimer)(std::size_t index);

class OurTimers {
public:
    OurTimers(std::size_t count, int interval) {
        ZQTimer::ModuleInit(2);
        for (std::size_t i = 0; i < count; ++i) {
            m_timers.push_back(std::make_unique<ZQTimer>(static_cast<long>(i)));
            m_timers.back()->Init(
                interval, [](ZQTimer& timer, void*) { RunTimer(static_cast<std::size_t>(timer.GetTimerID())); },
                nullptr);
        }
    }
    ~OurTimers() {
        m_timers.clear();
        ZQTimer::ModuleUninit();
    }
    double Start() {
        const double before = bench::Now();
        for (const auto& timer : m_timers) { timer->Start(false); }
        return bench::Now() - before;
    }
    double Stop() {
        const double before = bench::Now();
        for (const auto& timer : m_timers) { timer->Stop(true); }
        return bench::Now() - before;
    }

private:
    std::vector<std::unique_ptr<ZQTimer>> m_timers;
};

/// The floor: the kernel's own timers, a descriptor each.
class FdTimers {
public:
    FdTimers(std::size_t count, int interval) : m_interval(interval), m_epoll(epoll_create1(0)), m_end(eventfd(0, 0)) {
        Watch(m_end, count);
        for (std::size_t i = 0; i < count; ++i) {
            m_timers.push_back(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK));
            Watch(m_timers.back(), i);
        }
        m_thread = std::thread([this] { Run(); });
    }
    ~FdTimers() {
        const std::uint64_t one = 1;
        if (write(m_end, &one, sizeof one) == sizeof one) {
            m_thread.join();
        }
        for (const int fd : m_timers) { close(fd); }
        close(m_end);
        close(m_epoll);
    }
    double Start() { return SetAll(m_interval); }
    double Stop() { return SetAll(0); }

private:
    void Watch(int fd, std::size_t index) {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.u64 = index;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event);
    }
    double SetAll(int milliseconds) {
        itimerspec spec = {};
        spec.it_interval.tv_sec = milliseconds / 1000;
        spec.it_interval.tv_nsec = milliseconds % 1000 * 1000000L;
        spec.it_value = spec.it_interval;
        const double before = bench::Now();
        for (const int fd : m_timers) { timerfd_settime(fd, 0, &spec, nullptr); }
        return bench::Now() - before;
    }
    void Run() {
        epoll_event events[256];
        for (;;) {
            const int count = epoll_wait(m_epoll, events, 256, -1);
            for (int i = 0; i < count; ++i) {
                const std::size_t index = events[i].data.u64;
                if (index == m_timers.size()) {
                    return;
                }
                std::uint64_t passed;
                if (read(m_timers[index], &passed, sizeof passed) == sizeof passed) {
                    RunTimer(index);
                }
            }
        }
    }

    const int m_interval;
    const int m_epoll;
    const int m_end;
    std::vector<int> m_timers;
    std::thread m_thread;
};

#ifdef ZQ_HAVE_BOOST
class AsioTimers {
public:
    AsioTimers(std::size_t count, int interval)
        : m_interval(interval), m_work(boost::asio::make_work_guard(m_context)) {
        for (std::size_t i = 0; i < count; ++i) {
            m_timers.push_back(std::make_unique<boost::asio::steady_timer>(m_context));
        }
        m_thread = std::thread([this] { m_context.run(); });
    }
    ~AsioTimers() {
        m_context.stop();
        m_thread.join();
    }
    double Start() {
        const double before = bench::Now();
        for (std::size_t i = 0; i < m_timers.size(); ++i) { Arm(i); }
        return bench::Now() - before;
    }
    /// On the loop's thread: a timer is touched by one thread at a time.
    double Stop() {
        std::atomic<double> taken{-1};
        m_context.post([this, &taken] {
            const double before = bench::Now();
            for (const auto& timer : m_timers) { timer->cancel(); }
            taken = bench::Now() - before;
        });
        while (taken < 0) { usleep(100); }
        return taken;
    }

private:
    void Arm(std::size_t index) {
        m_timers[index]->expires_after(std::chrono::milliseconds(m_interval));
        m_timers[index]->async_wait([this, index](const boost::system::error_code& error) {
            if (!error) {
                RunTimer(index);
                Arm(index);
            }
        });
    }

    const int m_interval;
    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    std::vector<std::unique_ptr<boost::asio::steady_timer>> m_timers;
    std::thread m_thread;
};
#endif

#ifdef ZQ_HAVE_UV
class UvTimers {
public:
    UvTimers(std::size_t count, int interval) : m_interval(interval), m_timers(count) {}
    double Start() {
        m_thread = std::thread([this] { Run(); });
        while (m_started < 0) { usleep(100); }
        return m_started;
    }
    double Stop() {
        uv_async_send(&m_end);
        m_thread.join();
        return m_stopped;
    }

private:
    void Run() {
        uv_loop_init(&m_loop);
        m_loop.data = this;
        uv_async_init(&m_loop, &m_end, [](uv_async_t* end) { static_cast<UvTimers*>(end->loop->data)->StopAll(); });
        for (std::size_t i = 0; i < m_timers.size(); ++i) { uv_timer_init(&m_loop, &m_timers[i]); }
        const double before = bench::Now();
        uv_update_time(&m_loop);
        const std::uint64_t interval = static_cast<std::uint64_t>(m_interval);
        for (uv_timer_t& timer : m_timers) {
            uv_timer_start(
                &timer,
                [](uv_timer_t* self) {
                    const auto* all = static_cast<UvTimers*>(self->loop->data)->m_timers.data();
                    RunTimer(static_cast<std::size_t>(self - all));
                },
                interval, interval);
        }
        m_started = bench::Now() - before;
        uv_run(&m_loop, UV_RUN_DEFAULT);
        uv_loop_close(&m_loop);
    }
    void StopAll() {
        const double before = bench::Now();
        for (uv_timer_t& timer : m_timers) { uv_timer_stop(&timer); }
        m_stopped = bench::Now() - before;
        for (uv_timer_t& timer : m_timers) { uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr); }
        uv_close(reinterpret_cast<uv_handle_t*>(&m_end), nullptr);
    }

    const int m_interval;
    uv_loop_t m_loop;
    uv_async_t m_end;
    std::vector<uv_timer_t> m_timers;
    std::atomic<double> m_started{-1};
    double m_stopped = 0;
    std::thread m_thread;
};
#endif

#endif
