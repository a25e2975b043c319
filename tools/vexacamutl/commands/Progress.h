// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A progress line on standard error while it is a terminal; nothing otherwise.
//
//     [##########..........]  50 %  120 frames  61.3 frames/s  2 s left
//
// Debian 12 carries no C++ library for this, so these are the few lines that it takes.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

namespace VexaTool {

class Progress {
  public:
    explicit Progress(bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more frame is done; `fraction` of the whole, where the whole is known.
    void FrameDone(std::optional<double> fraction);

    /// Prints a line for people without tearing the progress line.
    void Note(const std::string& line);

  private:
    using Clock = std::chrono::steady_clock;
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }
    void Draw(std::optional<double> fraction) const;
    void Erase() const;

    const bool m_shown;
    const Clock::time_point m_start = Clock::now();
    std::mutex m_mutex;
    Clock::time_point m_lastDrawn;
    uint64_t m_frames = 0;
    mutable bool m_drawn = false;
};

}  // namespace VexaTool
