// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <pthread.h>
#include <sched.h>
#include <thread>
#include <vector>

/// Keeps every core from halting while this object exists, by one thread of idle priority for each,
/// which any other thread preempts. Waking a halted core of a virtual machine takes longer than the
/// tool's own part of an exchange, whichever client is measured.
class AwakeCores
{
public:
    AwakeCores()
    {
        for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core) {
            m_threads.emplace_back([this] {
                const sched_param none{};
                pthread_setschedparam(pthread_self(), SCHED_IDLE, &none);
                while (!m_done.load(std::memory_order_relaxed)) { }
            });
        }
    }

    ~AwakeCores()
    {
        m_done = true;
        for (std::thread &thread : m_threads) {
            thread.join();
        }
    }

    AwakeCores(const AwakeCores &) = delete;
    AwakeCores &operator=(const AwakeCores &) = delete;

private:
    std::atomic<bool> m_done{false};
    std::vector<std::thread> m_threads;
};
