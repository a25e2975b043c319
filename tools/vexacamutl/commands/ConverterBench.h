// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Measures converters, one at a time, on one thread; for the verb bench and for the viewer's engine. Each figure is the
// median of many runs. The last column compares with a plain copy that moves as many bytes, read and written together:
// 1.00 means that converting costs no more than copying.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

#include <catalogue/ConverterList.h>

namespace VexaTool {

inline double MedianSeconds(const std::function<void()>& run, double budget) {
    using Clock = std::chrono::steady_clock;
    static constexpr size_t kFewest = 5;
    run();
    std::vector<double> times;
    double total = 0;
    while (total < budget || times.size() < kFewest) {
        const auto start = Clock::now();
        run();
        times.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        total += times.back();
    }
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
    return times[times.size() / 2];
}

class ConverterBench {
  public:
    ConverterBench(uint32_t width, uint32_t height, double budget)
        : m_width(width),
          m_height(height),
          m_budget(budget),
          m_source(Pixels() * kMostBytes),
          m_target(Pixels() * kMostBytes) {
        // Any samples will do that do not all take the same way: the middle byte of a simple generator.
        uint32_t state = 1;
        for (uint8_t& byte : m_source) {
            state = state * 1664525u + 1013904223u;
            byte = static_cast<uint8_t>(state >> 16);
        }
    }

    /// Prints name, million pixels per second, GB/s and the share of a copy's speed.
    void Row(const VexaCatalogue::Converter& converter, bool csv) {
        const size_t bytes = Pixels() * (converter.SourceBits() + converter.DestinationBits()) / 8;
        const double copy = CopySeconds(bytes / 2);
        const double seconds = MedianSeconds([&] { Convert(converter); }, m_budget);
        std::printf(csv ? "%s,%.1f,%.3f,%.3f\n" : "%-24s %10.1f %8.2f %8.2f\n", converter.name,
                    static_cast<double>(Pixels()) / seconds / 1e6, static_cast<double>(bytes) / seconds / 1e9,
                    copy / seconds);
        static_cast<void>(std::fflush(stdout));
    }

  private:
    static constexpr size_t kMostBytes = 6;
    static constexpr uint32_t kShift = 4;  ///< for the workers: samples of 12 bits
    size_t Pixels() const { return size_t{m_width} * m_height; }

    void Convert(const VexaCatalogue::Converter& converter) {
        if (converter.IsWorker()) {
            converter.worker(m_target.data(), m_source.data(), m_width, m_height, kShift);
        } else {
            converter.function(m_target.data(), m_source.data(), m_width, m_height);
        }
    }

    /// memcpy of this many bytes reads them and writes them: the same traffic as twice the bytes in one direction.
    double CopySeconds(size_t bytes) {
        const auto known = m_copySeconds.find(bytes);
        if (known != m_copySeconds.end()) {
            return known->second;
        }
        const double seconds = MedianSeconds([&] { std::memcpy(m_target.data(), m_source.data(), bytes); }, m_budget);
        return m_copySeconds[bytes] = seconds;
    }

    uint32_t m_width;
    uint32_t m_height;
    double m_budget;
    std::vector<uint8_t> m_source;
    std::vector<uint8_t> m_target;
    std::map<size_t, double> m_copySeconds;
};

}  // namespace VexaTool
