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
    : m_options(options),
      m_plan(plan),
      m_report(report),
      m_progress(options.quiet),
      m_givenUp(failures),
      m_inputs(options.inputs.size() + failures.size()) {}

void Batch::Plan() {
    for (const std::string& input : m_options.inputs) {
        m_plan.Protect(input);
        for (const std::string& sidecar : SidecarsRead(input, m_options.input)) {
            m_plan.Protect(sidecar);
        }
    }
    std::vector<std::pair<InputFailure, size_t>> failures;
    for (const InputFailure& failed : m_givenUp) {
        failures.emplace_back(failed, 0);
    }
    size_t order = 0;
    for (const std::string& input : m_options.inputs) {
        ++order;
        uint64_t count = 0;
        RawShape shape;
        try {
            const MappedFrames frames(input, m_options.input);
            count = frames.Count();
            shape = frames.Shape();
        } catch (const Failure& failure) {
            failures.push_back({{input, failure}, order});
            continue;
        }
        m_jobs.push_back({input, count, m_plan.Add(input, count, shape), order});
    }
    m_plan.Begin();
    m_report.Open();
    for (const auto& [failed, place] : failures) {
        RecordInput(failed, place);
    }
}

bool Batch::TakeTask(Task& task) {
    const std::lock_guard lock(m_mutex);
    while (true) {
        if (m_current && !m_current->failed && m_current->next < m_current->frames.Count()) {
            task = {m_current, m_current->next++};
            return true;
        }
        m_current.reset();
        if (m_nextJob == m_jobs.size()) {
            return false;
        }
        const Job& job = m_jobs[m_nextJob++];
        try {
            m_current = std::make_shared<OpenFile>(m_options, job);
            if (m_current->frames.Count() != m_current->job.frames) {
                throw Failure(ExitCode::kInput, m_current->job.path + " changed after its frames were counted");
            }
        } catch (const Failure& failure) {
            m_current.reset();
            RecordInput({job.path, failure}, job.order);
        }
    }
}

double Batch::Fraction() {
    const std::lock_guard lock(m_mutex);
    const double opened =
        m_current ? static_cast<double>(m_current->next) / static_cast<double>(m_current->frames.Count()) : 1.0;
    return (static_cast<double>(m_nextJob) - 1.0 + opened) / static_cast<double>(m_jobs.size());
}

// Called with the lock held, or before other threads start.
void Batch::Record(const Failure& failure) {
    ++m_failures;
    m_last = std::make_unique<Failure>(failure);
    if (m_inputs > 1) {
        m_progress.Note(failure.what());
    }
}

void Batch::RecordInput(const InputFailure& failed, size_t order) {
    Record(failed.failure);
    m_report.Add({order, failed.path, std::nullopt, "", Outcome::kFailed, failed.failure.what()});
}

ReportLine Batch::LineOf(const Task& task) const {
    const Job& job = task.file->job;
    return {job.order, job.path, m_options.input.Range().first + task.frame, job.names.Of(task.frame)};
}

void Batch::Write(const std::string& path, Bytes bytes, const RawShape& shape) {
    const RawShape result = m_options.encode.reversal.ShapeAfter(shape);
    m_plan.Write(path, bytes, result);
    if (m_options.announce) {
        const std::lock_guard lock(m_mutex);
        m_options.announce(path, result);
    }
}

void Batch::Convert(FrameEncoder& encoder, const Task& task, std::vector<uint8_t>& scratch) {
    const auto start = std::chrono::steady_clock::now();
    ReportLine line = LineOf(task);
    const std::string& path = line.output;
    if (m_plan.Keeps(path)) {
        m_plan.CountSkipped();
        line.outcome = Outcome::kSkipped;
    } else {
        const RawShape& shape = task.file->frames.Shape();
        const RawShape tight = TightShape(shape);
        const Bytes frame = TightFrame(shape, task.file->frames.Frame(task.frame), scratch);
        const Bytes encoded = encoder.Encode(tight, frame);
        line.bytes = encoded.size();
        line.crc32 = m_report.Checksum(encoded);  // before it is written: it is in the cache
        Write(path, encoded, tight);
        if (m_options.checkRange) {
            task.file->range.Add(tight, frame);
        }
    }
    line.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    m_report.Add(line);
    if (++task.file->done == task.file->frames.Count() && m_options.checkRange) {
        m_progress.Note(task.file->range.Line(task.file->frames.Path()));
    }
}

void Batch::Work() {
    FrameEncoder encoder(m_options.encode);
    std::vector<uint8_t> scratch;
    Task task;
    while (TakeTask(task)) {
        std::optional<Failure> failure;
        try {
            Convert(encoder, task, scratch);
            m_progress.FrameDone(Fraction());
        } catch (const Failure& thrown) {
            failure = thrown;
        } catch (const std::bad_alloc&) {
            failure = Failure(ExitCode::kNoMemory, "out of memory");
        }
        if (failure) {
            ReportLine line = LineOf(task);
            line.outcome = Outcome::kFailed;
            line.reason = failure->what();
            m_report.Add(line);
        }
        if (failure && !task.file->failed.exchange(true)) {
            const std::lock_guard lock(m_mutex);
            Record(WithName(*failure, task.file->frames.Path()));
        }
    }
}

void Batch::Run() {
    Plan();
    OnThreads(m_options.jobs, [this](size_t /*thread*/) { Work(); });
    if (m_failures == 0) {
        return;
    }
    if (m_inputs == 1) {
        throw Failure(*m_last);
    }
    const size_t converted = m_inputs - m_failures;
    throw Failure(ExitCode::kSomeFailed, std::to_string(m_failures) + " of " + std::to_string(m_inputs) +
                                             " inputs failed, " + std::to_string(converted) +
                                             (converted == 1 ? " was converted" : " were converted"));
}

}  // namespace VexaTool
