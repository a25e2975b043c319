// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See InOrder.h.
#include "commands/InOrder.h"

#include <chrono>
#include <exception>

#include "Failure.h"
#include "commands/Parallel.h"
#include "commands/Progress.h"
#include "formats/Unpack.h"
#include "input/FrameFeed.h"
#include "output/FrameWriter.h"

namespace VexaTool {

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void Protect(const ConversionOptions& options, OutputPlan& plan) {
    const std::string& input = options.inputs[0];
    plan.Protect(input);
    for (const std::string& sidecar : SidecarsRead(input, options.input)) {
        plan.Protect(sidecar);
    }
}

/// A frame on its way through the conversion.
struct Slot {
    explicit Slot(const EncodeOptions& options) : encoder(options) {}
    FrameEncoder encoder;
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> scratch;
    Bytes raw;
    Bytes encoded;
    uint32_t crc32 = 0;
    bool kept = false;  ///< its result exists and is to stay
    double seconds = 0.0;
    std::exception_ptr failure;
};

class InOrder {
  public:
    InOrder(const ConversionOptions& options, OutputPlan& plan, Report& report)
        : options_(options),
          plan_(plan),
          report_(report),
          feed_(options.inputs[0], options.input),
          tight_(TightShape(feed_.Shape())),
          result_(options.encode.reversal.ShapeAfter(tight_)),
          progress_(options.quiet) {}

    void Run() {
        const std::string& input = options_.inputs[0];
        Protect(options_, plan_);
        const auto frames = options_.input.Range().Count() == 1 ? std::optional<uint64_t>(1) : feed_.Count();
        const ResultNames names = plan_.Add(input, frames, tight_);
        plan_.Begin();
        report_.Open();
        FrameWriter writer(plan_, names, result_);
        if (writer.KeepsAll()) {
            report_.Add({0, input, std::nullopt, names.Of(0), Outcome::kSkipped});
            return;
        }
        const uint64_t written = WriteAll(writer, names);
        if (options_.announce && !names.FilePerFrame() && written > 0) {
            options_.announce(names.Of(0), result_);
        }
        if (options_.checkRange) {
            progress_.Note(range_.Line(input == "-" ? "standard input" : input));
        }
    }

  private:
    uint64_t WriteAll(FrameWriter& writer, const ResultNames& names);
    uint64_t WriteFrames(FrameWriter& writer, const ResultNames& names);
    void Deliver(Slot& slot, uint64_t frame, FrameWriter& writer, const ResultNames& names);
    size_t Fill();
    void Encode(Slot& slot);

    const ConversionOptions& options_;
    OutputPlan& plan_;
    Report& report_;
    FrameFeed feed_;
    RawShape tight_;
    RawShape result_;
    Progress progress_;
    RangeCheck range_;
    std::vector<Slot> slots_;
};

void InOrder::Encode(Slot& slot) {
    const Clock::time_point start = Clock::now();
    try {
        const Bytes frame = TightFrame(feed_.Shape(), slot.raw, slot.scratch);
        slot.encoded = slot.encoder.Encode(tight_, frame);
        slot.crc32 = report_.Checksum(slot.encoded);
        if (options_.checkRange) {
            range_.Add(tight_, frame);
        }
    } catch (...) {
        slot.failure = std::current_exception();
    }
    slot.seconds = SecondsSince(start);
}

/// Reads the next frames; a frame that cannot be read does not keep those before it from being written.
size_t InOrder::Fill() {
    size_t filled = 0;
    try {
        while (filled < slots_.size() && feed_.Next(slots_[filled].raw, slots_[filled].buffer)) {
            ++filled;
        }
    } catch (...) {
        slots_[filled].failure = std::current_exception();
        ++filled;
    }
    return filled;
}

/// Writes a frame and its line of the report, which says as well why it could not be written.
void InOrder::Deliver(Slot& slot, uint64_t frame, FrameWriter& writer, const ResultNames& names) {
    const Clock::time_point start = Clock::now();
    ReportLine line = {0, options_.inputs[0], options_.input.Range().first + frame, names.Of(frame)};
    try {
        if (slot.failure) {
            std::rethrow_exception(slot.failure);
        }
        if (slot.kept) {
            plan_.CountSkipped();
            line.outcome = Outcome::kSkipped;
        } else {
            writer.Write(frame, slot.encoded);
            line.bytes = slot.encoded.size();
            line.crc32 = slot.crc32;
            line.seconds = slot.seconds + SecondsSince(start);
        }
    } catch (const std::exception& error) {
        line.outcome = Outcome::kFailed;
        line.reason = ReasonOf(error);
        report_.Add(line);
        throw;
    }
    report_.Add(line);
    if (!slot.kept && options_.announce && names.FilePerFrame()) {
        options_.announce(names.Of(frame), result_);
    }
}

uint64_t InOrder::WriteAll(FrameWriter& writer, const ResultNames& names) {
    try {
        const uint64_t written = WriteFrames(writer, names);
        writer.Commit();
        return written;
    } catch (const std::exception& error) {
        if (writer.AllOrNothing()) {
            report_.GiveUp(ReasonOf(error));
        }
        throw;
    }
}

uint64_t InOrder::WriteFrames(FrameWriter& writer, const ResultNames& names) {
    const std::optional<uint64_t> count = feed_.Count();
    // With one thread, no frame of a live stream waits for the next.
    slots_.reserve(options_.jobs);
    for (unsigned i = 0; i < options_.jobs; ++i) {
        slots_.emplace_back(options_.encode);
    }
    uint64_t written = 0;
    for (size_t filled = slots_.size(); filled == slots_.size();) {
        filled = Fill();
        OnThreads(filled, [&](size_t i) {
            slots_[i].kept = writer.Keeps(written + i);
            if (!slots_[i].failure && !slots_[i].kept) {
                Encode(slots_[i]);
            }
        });
        for (size_t i = 0; i < filled; ++i, ++written) {
            Deliver(slots_[i], written, writer, names);
            progress_.FrameDone(count ? std::optional(static_cast<double>(written + 1) / static_cast<double>(*count))
                                      : std::nullopt);
        }
    }
    return written;
}

}  // namespace

void ConvertInOrder(const ConversionOptions& options, OutputPlan& plan, Report& report) {
    std::unique_ptr<InOrder> conversion;
    try {
        conversion = std::make_unique<InOrder>(options, plan, report);
    } catch (const Failure& failure) {
        Protect(options, plan);
        plan.Begin();
        report.Open();
        report.Add({0, options.inputs[0], std::nullopt, "", Outcome::kFailed, failure.what()});
        throw;
    }
    conversion->Run();
}

}  // namespace VexaTool
