// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Files to files on several threads. A file that fails is reported and does not stop the others.
#pragma once

#include <atomic>
#include <memory>

#include "Failure.h"
#include "commands/Conversion.h"
#include "commands/Progress.h"

namespace VexaTool {

class Batch {
  public:
    explicit Batch(const ConversionOptions& options);

    /// Returns when every input was done; else a Failure: the input's own when there is only one, a count otherwise.
    void Run();

  private:
    struct OpenFile {
        explicit OpenFile(const ConversionOptions& options, const std::string& path) : frames(path, options.input) {}
        MappedFrames frames;
        size_t next = 0;
        std::atomic<size_t> done = 0;
        std::atomic<bool> failed = false;
        RangeCheck range;
    };
    struct Task {
        std::shared_ptr<OpenFile> file;
        size_t frame;
    };

    bool TakeTask(Task& task);
    void Work();
    void Convert(FrameEncoder& encoder, const Task& task, std::vector<uint8_t>& scratch);
    std::string PathOf(const OpenFile& file, size_t frame) const;
    double Fraction();
    void Record(const Failure& failure);

    const ConversionOptions& options_;
    Progress progress_;
    std::mutex mutex_;
    size_t nextInput_ = 0;
    std::shared_ptr<OpenFile> current_;
    size_t failures_ = 0;
    std::unique_ptr<Failure> last_;
};

}  // namespace VexaTool
