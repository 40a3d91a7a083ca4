// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <pthread.h>
#include <sched.h>
#include <thread>
#include <vector>

/// Keeps every core from halting for as long as this lives, by a thread of idle priority each,
/// which gives way to any other at once. Waking a halted core of a virtual machine takes longer
/// than what the tool adds to an exchange, and is added to each client's alike.
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
