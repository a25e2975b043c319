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
        : m_options(options),
          m_plan(plan),
          m_report(report),
          m_feed(options.inputs[0], options.input),
          m_tight(TightShape(m_feed.Shape())),
          m_result(options.encode.reversal.ShapeAfter(m_tight)),
          m_progress(options.quiet) {}

    void Run() {
        const std::string& input = m_options.inputs[0];
        Protect(m_options, m_plan);
        const auto frames = m_options.input.Range().Count() == 1 ? std::optional<uint64_t>(1) : m_feed.Count();
        const ResultNames names = m_plan.Add(input, frames, m_tight);
        m_plan.Begin();
        m_report.Open();
        FrameWriter writer(m_plan, names, m_result);
        if (writer.KeepsAll()) {
            m_report.Add({0, input, std::nullopt, names.Of(0), Outcome::kSkipped});
            return;
        }
        const uint64_t written = WriteAll(writer, names);
        if (m_options.announce && !names.FilePerFrame() && written > 0) {
            m_options.announce(names.Of(0), m_result);
        }
        if (m_options.checkRange) {
            m_progress.Note(m_range.Line(NameOfInput()));
        }
    }

  private:
    std::string NameOfInput() const { return m_options.inputs[0] == "-" ? "standard input" : m_options.inputs[0]; }
    uint64_t WriteAll(FrameWriter& writer, const ResultNames& names);
    uint64_t WriteFrames(FrameWriter& writer, const ResultNames& names);
    void Deliver(Slot& slot, uint64_t frame, FrameWriter& writer, const ResultNames& names);
    size_t Fill();
    void Encode(Slot& slot);

    const ConversionOptions& m_options;
    OutputPlan& m_plan;
    Report& m_report;
    FrameFeed m_feed;
    RawShape m_tight;
    RawShape m_result;
    Progress m_progress;
    RangeCheck m_range;
    std::vector<Slot> m_slots;
};

void InOrder::Encode(Slot& slot) {
    const Clock::time_point start = Clock::now();
    try {
        const Bytes frame = TightFrame(m_feed.Shape(), slot.raw, slot.scratch);
        slot.encoded = slot.encoder.Encode(m_tight, frame);
        slot.crc32 = m_report.Checksum(slot.encoded);
        if (m_options.checkRange) {
            m_range.Add(m_tight, frame);
        }
    } catch (const Failure& failure) {
        slot.failure = std::make_exception_ptr(WithName(failure, NameOfInput()));
    } catch (...) {
        slot.failure = std::current_exception();
    }
    slot.seconds = SecondsSince(start);
}

/// Reads the next frames; a frame that cannot be read does not keep those before it from being written.
size_t InOrder::Fill() {
    size_t filled = 0;
    try {
        while (filled < m_slots.size() && m_feed.Next(m_slots[filled].raw, m_slots[filled].buffer)) {
            ++filled;
        }
    } catch (...) {
        m_slots[filled].failure = std::current_exception();
        ++filled;
    }
    return filled;
}

/// Writes a frame and its line of the report, which says as well why it could not be written.
void InOrder::Deliver(Slot& slot, uint64_t frame, FrameWriter& writer, const ResultNames& names) {
    const Clock::time_point start = Clock::now();
    ReportLine line = {0, m_options.inputs[0], m_options.input.Range().first + frame, names.Of(frame)};
    try {
        if (slot.failure) {
            std::rethrow_exception(slot.failure);
        }
        if (slot.kept) {
            m_plan.CountSkipped();
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
        m_report.Add(line);
        throw;
    }
    m_report.Add(line);
    if (!slot.kept && m_options.announce && names.FilePerFrame()) {
        m_options.announce(names.Of(frame), m_result);
    }
}

uint64_t InOrder::WriteAll(FrameWriter& writer, const ResultNames& names) {
    try {
        const uint64_t written = WriteFrames(writer, names);
        writer.Commit();
        return written;
    } catch (const std::exception& error) {
        if (writer.AllOrNothing()) {
            m_report.GiveUp(ReasonOf(error));
        }
        throw;
    }
}

uint64_t InOrder::WriteFrames(FrameWriter& writer, const ResultNames& names) {
    const std::optional<uint64_t> count = m_feed.Count();
    // With one thread, no frame of a live stream waits for the next.
    m_slots.reserve(m_options.jobs);
    for (unsigned i = 0; i < m_options.jobs; ++i) {
        m_slots.emplace_back(m_options.encode);
    }
    uint64_t written = 0;
    for (size_t filled = m_slots.size(); filled == m_slots.size();) {
        filled = Fill();
        OnThreads(filled, [&](size_t i) {
            m_slots[i].kept = writer.Keeps(written + i);
            if (!m_slots[i].failure && !m_slots[i].kept) {
                Encode(m_slots[i]);
            }
        });
        for (size_t i = 0; i < filled; ++i, ++written) {
            Deliver(m_slots[i], written, writer, names);
            m_progress.FrameDone(count ? std::optional(static_cast<double>(written + 1) / static_cast<double>(*count))
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
