// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Threads that share the work on one frame. They are started once and wait between frames, so a frame costs two
// wake-ups per thread and no allocation.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace VexaGst {

class Crew {
  public:
    Crew() = default;
    ~Crew() { Resize(1); }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    /// Makes `threads` threads work from now on; the caller of Run is one of them. Never call it during Run.
    void Resize(unsigned threads);

    unsigned Threads() const { return static_cast<unsigned>(m_helpers.size()) + 1; }

    /// Calls part(i) once for every i below Threads(), each in a thread of its own, and returns when all are done.
    void Run(const std::function<void(unsigned)>& part);

  private:
    void Help(unsigned index, uint64_t lastFrame);

    std::vector<std::thread> m_helpers;
    std::mutex m_mutex;
    std::condition_variable m_start;
    std::condition_variable m_done;
    const std::function<void(unsigned)>* m_part = nullptr;
    uint64_t m_frame = 0;
    size_t m_running = 0;
    bool m_ending = false;
};

}  // namespace VexaGst
