// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// bench: how fast each converter is on this machine.
//
// The last column compares with a plain copy that moves as many bytes, read and written together: 1.00 means that
// converting costs no more than copying. Each figure is the median of many runs, on one thread.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <catalogue/ConverterList.h>

#include "Failure.h"
#include "commands/Commands.h"
#include "formats/RawShape.h"

namespace VexaTool {

namespace {

using VexaCatalogue::Converter;

struct Arguments {
    std::vector<std::string> names;
    std::string size = "1920x1080";
    double seconds = 0.1;
    bool csv = false;
};

double MedianSeconds(const std::function<void()>& run, double budget) {
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

class Bench {
  public:
    Bench(uint32_t width, uint32_t height, double budget)
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

    void Row(const Converter& converter, bool csv) {
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

    void Convert(const Converter& converter) {
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

std::vector<Converter> Chosen(const std::vector<std::string>& names) {
    std::vector<Converter> chosen;
    for (const Converter& converter : VexaCatalogue::kConverters) {
        const bool wanted = std::any_of(names.begin(), names.end(), [&](const std::string& part) {
            return std::string(converter.name).find(part) != std::string::npos;
        });
        if (names.empty() || wanted) {
            chosen.push_back(converter);
        }
    }
    if (chosen.empty()) {
        throw Failure(ExitCode::kUsage, "no converter's name contains '" + names[0] + "'");
    }
    return chosen;
}

void Run(const Arguments& arguments) {
    RawShape shape;
    shape.format = FindFormat(PIXEL_FORMAT_RGB12);
    ParseSize(arguments.size, shape.width, shape.height);
    CheckShape(shape, "bench");
    const std::vector<Converter> chosen = Chosen(arguments.names);
    Bench bench(shape.width, shape.height, arguments.seconds);
    if (arguments.csv) {
        std::printf("converter,mpixel_per_s,gbyte_per_s,ratio_to_copy\n");
    } else {
        std::printf("%-24s %10s %8s %8s   (%ux%u, one thread)\n", "converter", "Mpixel/s", "GB/s", "of copy",
                    shape.width, shape.height);
    }
    for (const Converter& converter : chosen) {
        bench.Row(converter, arguments.csv);
    }
}

}  // namespace

void DeclareBench(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command.add_option("NAMES", arguments->names, "Only converters whose names contain one of these, for example Byr");
    command.add_option("-s,--size", arguments->size, "Size of the frame (default: 1920x1080)");
    command.add_option("--seconds", arguments->seconds, "Time for each converter (default: 0.1)")
        ->check(CLI::Range(0.0, 60.0));
    command.add_flag("--csv", arguments->csv, "Comma-separated values");
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
