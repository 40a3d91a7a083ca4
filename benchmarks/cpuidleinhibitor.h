// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <pthread.h>
#include <sched.h>
#include <thread>
#include <vector>

/// Prevents the cores from entering an idle state during this object's lifetime: one thread per
/// core runs a busy loop with the scheduling policy SCHED_IDLE. Waking up an idle core of a virtual
/// machine takes longer than the tool's own part of an exchange, and would be added to the time of
/// every client.
class CpuIdleInhibitor
{
public:
    CpuIdleInhibitor()
    {
        for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core) {
            m_threads.emplace_back([this] {
                const sched_param none{};
                pthread_setschedparam(pthread_self(), SCHED_IDLE, &none);
                while (!m_done.load(std::memory_order_relaxed)) { }
            });
        }
    }

    ~CpuIdleInhibitor()
    {
        m_done = true;
        for (std::thread &thread : m_threads) {
            thread.join();
        }
    }

    CpuIdleInhibitor(const CpuIdleInhibitor &) = delete;
    CpuIdleInhibitor &operator=(const CpuIdleInhibitor &) = delete;

private:
    std::atomic<bool> m_done{false};
    std::vector<std::thread> m_threads;
};
