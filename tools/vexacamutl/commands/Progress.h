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

    bool Shown() const { return shown_; }
    /// "120 frames in 2.1 s"
    std::string Summary() const;

  private:
    using Clock = std::chrono::steady_clock;
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
    void Draw(std::optional<double> fraction) const;
    void Erase() const;

    const bool shown_;
    const Clock::time_point start_ = Clock::now();
    std::mutex mutex_;
    Clock::time_point lastDrawn_;
    uint64_t frames_ = 0;
    mutable bool drawn_ = false;
};

}  // namespace VexaTool
