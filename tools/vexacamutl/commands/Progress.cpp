// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Progress.h.
#include "commands/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Failure.h"

namespace VexaTool {

Progress::Progress(bool quiet) : m_shown(!quiet && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    Erase();
}

void Progress::Erase() const {
    if (std::exchange(m_drawn, false)) {
        static_cast<void>(std::fputs("\r\x1b[K", stderr));
    }
}

void Progress::Draw(std::optional<double> fraction) const {
    static constexpr int kCells = 30;
    const double seconds = std::max(Seconds(), 1e-3);
    const double rate = static_cast<double>(m_frames) / seconds;
    Erase();
    m_drawn = true;
    if (fraction) {
        const int filled = static_cast<int>(std::clamp(*fraction, 0.0, 1.0) * kCells);
        const std::string bar =
            std::string(static_cast<size_t>(filled), '#') + std::string(static_cast<size_t>(kCells - filled), '.');
        static_cast<void>(std::fprintf(stderr, "[%s] %3.0f %%  %llu frames  %.1f frames/s  %.0f s left", bar.c_str(),
                                       *fraction * 100, static_cast<unsigned long long>(m_frames), rate,
                                       *fraction > 0 ? seconds / *fraction * (1 - *fraction) : 0.0));
    } else {
        static_cast<void>(
            std::fprintf(stderr, "%llu frames  %.1f frames/s", static_cast<unsigned long long>(m_frames), rate));
    }
    static_cast<void>(std::fflush(stderr));
}

void Progress::FrameDone(std::optional<double> fraction) {
    static constexpr std::chrono::milliseconds kInterval(100);
    const std::lock_guard lock(m_mutex);
    ++m_frames;
    if (m_shown && Clock::now() - m_lastDrawn >= kInterval) {
        m_lastDrawn = Clock::now();
        Draw(fraction);
    }
}

void Progress::Note(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    Erase();
    SayLine(line);
}

}  // namespace VexaTool
