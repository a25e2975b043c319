// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Files to files on several threads. Every input is looked at first, so that the plan of all results stands before
// anything is written; then each thread takes the next frame of the next file. A file that fails is reported and does
// not stop the others.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "Failure.h"
#include "commands/ConversionOptions.h"
#include "commands/Progress.h"
#include "commands/Report.h"
#include "input/InputPaths.h"

namespace VexaTool {

class Batch {
  public:
    /// `failures` are those of inputs that were given up already.
    Batch(const ConversionOptions& options, OutputPlan& plan, Report& report,
          const std::vector<InputFailure>& failures);

    /// Returns when every input was done; else a Failure: the input's own when there is only one, a count otherwise.
    void Run();

  private:
    /// An input whose frames can be read, and the names of its results.
    struct Job {
        std::string path;
        uint64_t frames = 0;
        ResultNames names;
        size_t order = 0;  ///< among the inputs
    };
    struct OpenFile {
        OpenFile(const ConversionOptions& options, Job planned)
            : job(std::move(planned)), frames(job.path, options.input) {}
        Job job;
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

    void Plan();
    bool TakeTask(Task& task);
    void Work();
    void Convert(FrameEncoder& encoder, const Task& task, std::vector<uint8_t>& scratch);
    ReportLine LineOf(const Task& task) const;
    void Write(const std::string& path, Bytes bytes, const RawShape& shape);
    double Fraction();
    void Record(const Failure& failure);
    void RecordInput(const InputFailure& failed, size_t order);

    const ConversionOptions& m_options;
    OutputPlan& m_plan;
    Report& m_report;
    Progress m_progress;
    std::mutex m_mutex;
    std::vector<Job> m_jobs;
    size_t m_nextJob = 0;
    std::shared_ptr<OpenFile> m_current;
    const std::vector<InputFailure>& m_givenUp;
    size_t m_inputs;
    size_t m_failures = 0;
    std::unique_ptr<Failure> m_last;
};

}  // namespace VexaTool
