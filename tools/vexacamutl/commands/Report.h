// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What became of each frame, for programs: one JSON object a line, in the order of inputs and frames.
//
//     {"input": "a.raw", "frame": 0, "output": "a.png", "status": "done", "reason": null, "bytes": 9,
//      "crc32": "cbf43926", "seconds": 0.1}
//
// An input that cannot be read has a line without a frame. The file is opened before the first frame is converted and
// gets its name at the end, also when frames failed; a command that is refused or ended by a signal leaves none.
#pragma once

#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "output/OutputPlan.h"

namespace VexaTool {

enum class Outcome { kDone, kSkipped, kFailed };

struct ReportLine {
    size_t order = 0;  ///< of the input among the others
    std::string input;
    std::optional<uint64_t> frame;
    std::string output;  ///< empty: none
    Outcome outcome = Outcome::kDone;
    std::string reason = {};  ///< of a failure
    uint64_t bytes = 0;       ///< of what is done
    uint32_t crc32 = 0;       ///< of those bytes
    double seconds = 0.0;     ///< of what is done
};

class Report {
  public:
    /// Nothing is written unless the options name a report.
    explicit Report(const OutputOptions& options) : m_options(options) {}

    /// After OutputPlan::Begin.
    void Open();

    /// From any thread.
    void Add(const ReportLine& line);

    /// The one result of all frames did not get its name.
    void GiveUp(const std::string& reason);

    /// Once it is open.
    void Write();

    /// The CRC-32 of ISO 3309, as gzip and zip have it; 0 where no report is wanted.
    uint32_t Checksum(Bytes bytes) const;

  private:
    OutputOptions m_options;
    std::mutex m_mutex;
    std::vector<ReportLine> m_lines;
    std::unique_ptr<OutputFile> m_file;
};

/// What main would say.
std::string ReasonOf(const std::exception& error);

}  // namespace VexaTool
