// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See InOrder.h.
#include "commands/InOrder.h"

#include <exception>

#include "Failure.h"
#include "commands/Parallel.h"
#include "commands/Progress.h"
#include "formats/Unpack.h"
#include "input/FrameFeed.h"
#include "output/FrameWriter.h"

namespace VexaTool {

namespace {

/// A frame on its way through the conversion.
struct Slot {
    explicit Slot(const EncodeOptions& options) : encoder(options) {}
    FrameEncoder encoder;
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> scratch;
    Bytes raw;
    Bytes encoded;
    bool kept = false;  ///< its result exists and is to stay
    std::exception_ptr failure;
};

class InOrder {
  public:
    InOrder(const ConversionOptions& options, OutputPlan& plan)
        : options_(options),
          plan_(plan),
          feed_(options.inputs[0], options.input),
          tight_(TightShape(feed_.Shape())),
          result_(options.encode.reversal.ShapeAfter(tight_)),
          progress_(options.quiet) {}

    void Run() {
        const std::string& input = options_.inputs[0];
        plan_.Protect(input);
        for (const std::string& sidecar : SidecarsRead(input, options_.input)) {
            plan_.Protect(sidecar);
        }
        const auto frames = options_.input.Range().Count() == 1 ? std::optional<uint64_t>(1) : feed_.Count();
        const ResultNames names = plan_.Add(input, frames, tight_);
        plan_.Begin();
        FrameWriter writer(plan_, names, result_);
        if (writer.KeepsAll()) {
            return;
        }
        const uint64_t written = WriteFrames(writer, names);
        writer.Commit();
        if (options_.announce && !names.FilePerFrame() && written > 0) {
            options_.announce(names.Of(0), result_);
        }
        if (options_.checkRange) {
            progress_.Note(range_.Line(input == "-" ? "standard input" : input));
        }
    }

  private:
    uint64_t WriteFrames(FrameWriter& writer, const ResultNames& names);
    size_t Fill();
    void Encode(Slot& slot);

    const ConversionOptions& options_;
    OutputPlan& plan_;
    FrameFeed feed_;
    RawShape tight_;
    RawShape result_;
    Progress progress_;
    RangeCheck range_;
    std::vector<Slot> slots_;
};

void InOrder::Encode(Slot& slot) {
    try {
        const Bytes frame = TightFrame(feed_.Shape(), slot.raw, slot.scratch);
        slot.encoded = slot.encoder.Encode(tight_, frame);
        if (options_.checkRange) {
            range_.Add(tight_, frame);
        }
    } catch (...) {
        slot.failure = std::current_exception();
    }
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
            if (slots_[i].failure) {
                std::rethrow_exception(slots_[i].failure);
            }
            if (slots_[i].kept) {
                plan_.CountSkipped();
            } else {
                writer.Write(written, slots_[i].encoded);
                if (options_.announce && names.FilePerFrame()) {
                    options_.announce(names.Of(written), result_);
                }
            }
            progress_.FrameDone(count ? std::optional(static_cast<double>(written + 1) / static_cast<double>(*count))
                                      : std::nullopt);
        }
    }
    return written;
}

}  // namespace

void ConvertInOrder(const ConversionOptions& options, OutputPlan& plan) {
    InOrder(options, plan).Run();
}

}  // namespace VexaTool
