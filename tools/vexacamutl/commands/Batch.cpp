// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Batch.h.
#include "commands/Batch.h"

#include <chrono>
#include <new>

#include "commands/Parallel.h"
#include "formats/Unpack.h"

namespace VexaTool {

Batch::Batch(const ConversionOptions& options, OutputPlan& plan, Report& report,
             const std::vector<InputFailure>& failures)
    : options_(options),
      plan_(plan),
      report_(report),
      progress_(options.quiet),
      givenUp_(failures),
      inputs_(options.inputs.size() + failures.size()) {}

void Batch::Plan() {
    for (const std::string& input : options_.inputs) {
        plan_.Protect(input);
        for (const std::string& sidecar : SidecarsRead(input, options_.input)) {
            plan_.Protect(sidecar);
        }
    }
    std::vector<std::pair<InputFailure, size_t>> failures;
    for (const InputFailure& failed : givenUp_) {
        failures.emplace_back(failed, 0);
    }
    size_t order = 0;
    for (const std::string& input : options_.inputs) {
        ++order;
        uint64_t count = 0;
        RawShape shape;
        try {
            const MappedFrames frames(input, options_.input);
            count = frames.Count();
            shape = frames.Shape();
        } catch (const Failure& failure) {
            failures.push_back({{input, failure}, order});
            continue;
        }
        jobs_.push_back({input, count, plan_.Add(input, count, shape), order});
    }
    plan_.Begin();
    report_.Open();
    for (const auto& [failed, place] : failures) {
        RecordInput(failed, place);
    }
}

bool Batch::TakeTask(Task& task) {
    const std::lock_guard lock(mutex_);
    while (true) {
        if (current_ && !current_->failed && current_->next < current_->frames.Count()) {
            task = {current_, current_->next++};
            return true;
        }
        current_.reset();
        if (nextJob_ == jobs_.size()) {
            return false;
        }
        const Job& job = jobs_[nextJob_++];
        try {
            current_ = std::make_shared<OpenFile>(options_, job);
            if (current_->frames.Count() != current_->job.frames) {
                throw Failure(ExitCode::kInput, current_->job.path + " changed after its frames were counted");
            }
        } catch (const Failure& failure) {
            current_.reset();
            RecordInput({job.path, failure}, job.order);
        }
    }
}

double Batch::Fraction() {
    const std::lock_guard lock(mutex_);
    const double opened =
        current_ ? static_cast<double>(current_->next) / static_cast<double>(current_->frames.Count()) : 1.0;
    return (static_cast<double>(nextJob_) - 1.0 + opened) / static_cast<double>(jobs_.size());
}

// Called with the lock held, or before other threads start.
void Batch::Record(const Failure& failure) {
    ++failures_;
    last_ = std::make_unique<Failure>(failure);
    if (inputs_ > 1) {
        progress_.Note(failure.what());
    }
}

void Batch::RecordInput(const InputFailure& failed, size_t order) {
    Record(failed.failure);
    report_.Add({order, failed.path, std::nullopt, "", Outcome::kFailed, failed.failure.what()});
}

ReportLine Batch::LineOf(const Task& task) const {
    const Job& job = task.file->job;
    return {job.order, job.path, options_.input.Range().first + task.frame, job.names.Of(task.frame)};
}

void Batch::Write(const std::string& path, Bytes bytes, const RawShape& shape) {
    const RawShape result = options_.encode.reversal.ShapeAfter(shape);
    plan_.Write(path, bytes, result);
    if (options_.announce) {
        const std::lock_guard lock(mutex_);
        options_.announce(path, result);
    }
}

void Batch::Convert(FrameEncoder& encoder, const Task& task, std::vector<uint8_t>& scratch) {
    const auto start = std::chrono::steady_clock::now();
    ReportLine line = LineOf(task);
    const std::string& path = line.output;
    if (plan_.Keeps(path)) {
        plan_.CountSkipped();
        line.outcome = Outcome::kSkipped;
    } else {
        const RawShape& shape = task.file->frames.Shape();
        const RawShape tight = TightShape(shape);
        const Bytes frame = TightFrame(shape, task.file->frames.Frame(task.frame), scratch);
        const Bytes encoded = encoder.Encode(tight, frame);
        Write(path, encoded, tight);
        line.bytes = encoded.size();
        line.crc32 = report_.Checksum(encoded);
        if (options_.checkRange) {
            task.file->range.Add(tight, frame);
        }
    }
    line.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report_.Add(line);
    if (++task.file->done == task.file->frames.Count() && options_.checkRange) {
        progress_.Note(task.file->range.Line(task.file->frames.Path()));
    }
}

void Batch::Work() {
    FrameEncoder encoder(options_.encode);
    std::vector<uint8_t> scratch;
    Task task;
    while (TakeTask(task)) {
        std::optional<Failure> failure;
        try {
            Convert(encoder, task, scratch);
            progress_.FrameDone(Fraction());
        } catch (const Failure& thrown) {
            failure = thrown;
        } catch (const std::bad_alloc&) {
            failure = Failure(ExitCode::kNoMemory, "out of memory");
        }
        if (failure) {
            ReportLine line = LineOf(task);
            line.outcome = Outcome::kFailed;
            line.reason = failure->what();
            report_.Add(line);
        }
        if (failure && !task.file->failed.exchange(true)) {
            const std::lock_guard lock(mutex_);
            const std::string& path = task.file->frames.Path();
            const bool named = std::string(failure->what()).find(path) != std::string::npos;
            Record(named ? *failure : Failure(failure->Code(), path + ": " + failure->what()));
        }
    }
}

void Batch::Run() {
    Plan();
    OnThreads(options_.jobs, [this](size_t /*thread*/) { Work(); });
    if (failures_ == 0) {
        return;
    }
    if (inputs_ == 1) {
        throw Failure(*last_);
    }
    throw Failure(ExitCode::kSomeFailed, std::to_string(failures_) + " of " + std::to_string(inputs_) +
                                             " inputs failed, " + std::to_string(inputs_ - failures_) +
                                             " were converted");
}

}  // namespace VexaTool
