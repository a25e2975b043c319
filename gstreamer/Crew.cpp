// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Crew.h"

namespace VexaGst {

void Crew::Resize(unsigned threads) {
    if (threads == Threads()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_start.notify_all();
    for (std::thread& helper : m_helpers) {
        helper.join();
    }
    m_helpers.clear();
    m_ending = false;
    for (unsigned i = 1; i < threads; ++i) {
        m_helpers.emplace_back([this, i, frame = m_frame] { Help(i, frame); });
    }
}

void Crew::Run(const std::function<void(unsigned)>& part) {
    if (m_helpers.empty()) {
        part(0);
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_part = &part;
        m_running = m_helpers.size();
        ++m_frame;
    }
    m_start.notify_all();
    part(0);
    std::unique_lock lock(m_mutex);
    m_done.wait(lock, [this] { return m_running == 0; });
}

void Crew::Help(unsigned index, uint64_t lastFrame) {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_start.wait(lock, [&] { return m_ending || m_frame != lastFrame; });
        if (m_ending) {
            return;
        }
        lastFrame = m_frame;
        lock.unlock();
        (*m_part)(index);
        lock.lock();
        if (--m_running == 0) {
            m_done.notify_one();
        }
    }
}

}  // namespace VexaGst
