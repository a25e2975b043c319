// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Batch.h.
#include "commands/Batch.h"
#include "output/OutputFile.h"

#include <map>
#include <new>

#include "Failure.h"
#include "commands/Parallel.h"
#include "formats/Unpack.h"
#include "input/Sidecar.h"
#include "output/OutputNames.h"

namespace VexaTool {

namespace {

Failure Collision(const std::string& first, const std::string& second, const std::string& path) {
    return {ExitCode::kUsage, first + " and " + second + " would both become " + path};
}

/// Two inputs of one name would overwrite each other's result in the folder.
void RefuseCollisions(const ConversionOptions& options) {
    std::map<std::string, std::string> takenBy;
    for (const std::string& input : options.inputs) {
        const std::string path = PathInFolder(options.outputDir, input, ExtensionOf(options.encode.kind), std::nullopt);
        const auto [taken, fresh] = takenBy.emplace(path, input);
        if (!fresh) {
            throw Collision(taken->second, input, path);
        }
    }
}

void RefuseSequenceIntoOneFile(const ConversionOptions& options, const MappedFrames& frames) {
    if (frames.Count() > 1 && options.outputDir.empty() && !NumberedPath(options.output, 0)) {
        throw Failure(ExitCode::kUsage, frames.Path() + " holds " + std::to_string(frames.Count()) + " frames of " +
                                            frames.Shape().Text() +
                                            "; number the outputs (out_%05d.png), or use --output-dir or --frame");
    }
}

}  // namespace

Batch::Batch(const ConversionOptions& options) : options_(options), progress_(options.quiet) {
    if (!options.outputDir.empty()) {
        RefuseCollisions(options);
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
        if (nextInput_ == options_.inputs.size()) {
            return false;
        }
        try {
            current_ = std::make_shared<OpenFile>(options_, options_.inputs[nextInput_++]);
            RefuseSequenceIntoOneFile(options_, current_->frames);
        } catch (const Failure& failure) {
            current_.reset();
            Record(failure);
        }
    }
}

double Batch::Fraction() {
    const std::lock_guard lock(mutex_);
    const double opened =
        current_ ? static_cast<double>(current_->next) / static_cast<double>(current_->frames.Count()) : 1.0;
    return (static_cast<double>(nextInput_) - 1.0 + opened) / static_cast<double>(options_.inputs.size());
}

// Called with the lock held.
void Batch::Record(const Failure& failure) {
    ++failures_;
    last_ = std::make_unique<Failure>(failure);
    if (options_.inputs.size() > 1) {
        progress_.Note(failure.what());
    }
}

std::string Batch::PathOf(const OpenFile& file, size_t frame) const {
    const size_t count = file.frames.Count();
    if (!options_.outputDir.empty()) {
        return PathInFolder(options_.outputDir, file.frames.Path(), ExtensionOf(options_.encode.kind),
                            count > 1 ? std::optional<uint64_t>(frame) : std::nullopt);
    }
    return NumberedPath(options_.output, frame).value_or(options_.output);
}

void Batch::Convert(FrameEncoder& encoder, const Task& task, std::vector<uint8_t>& scratch) {
    const RawShape& shape = task.file->frames.Shape();
    const RawShape tight = TightShape(shape);
    const Bytes frame = TightFrame(shape, task.file->frames.Frame(task.frame), scratch);
    const std::string path = PathOf(*task.file, task.frame);
    WriteWholeFile(path, encoder.Encode(tight, frame));
    if (options_.sidecar) {
        WriteSidecar(path, tight);
    }
    if (options_.checkRange) {
        task.file->range.Add(tight, frame);
    }
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
        if (failure && !task.file->failed.exchange(true)) {
            const std::lock_guard lock(mutex_);
            const std::string& path = task.file->frames.Path();
            const bool named = std::string(failure->what()).find(path) != std::string::npos;
            Record(named ? *failure : Failure(failure->Code(), path + ": " + failure->what()));
        }
    }
}

void Batch::Run() {
    OnThreads(options_.jobs, [this](size_t /*thread*/) { Work(); });
    if (failures_ == 0) {
        return;
    }
    if (options_.inputs.size() == 1) {
        throw Failure(*last_);
    }
    throw Failure(ExitCode::kSomeFailed, std::to_string(failures_) + " of " + std::to_string(options_.inputs.size()) +
                                             " inputs failed, " + std::to_string(options_.inputs.size() - failures_) +
                                             " were converted");
}

}  // namespace VexaTool
