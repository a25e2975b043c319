// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See OutputPlan.h.
#include "output/OutputPlan.h"

#include <unistd.h>

#include <filesystem>

#include "Failure.h"
#include "input/Sidecar.h"

namespace VexaTool {

namespace {

namespace fs = std::filesystem;

std::string NameOf(const std::string& path) {
    return path == "-" ? "standard output" : path;
}

std::optional<struct stat> StatusOf(const std::string& path) {
    struct stat status = {};
    const bool exists = path == "-" ? fstat(STDIN_FILENO, &status) == 0 : stat(path.c_str(), &status) == 0;
    return exists ? std::optional(status) : std::nullopt;
}

/// Where a result goes: the descriptor for "-".
Destination DestinationOf(const std::string& path) {
    if (path != "-") {
        return FindDestination(path);
    }
    Destination standardOutput;
    standardOutput.descriptor = STDOUT_FILENO;
    struct stat status = {};
    if (fstat(STDOUT_FILENO, &status) == 0) {
        standardOutput.file = status;
    }
    return standardOutput;
}

/// One descriptor, or one file that both names lead to.
bool SameTarget(const Destination& a, const Destination& b) {
    return (a.descriptor >= 0 && a.descriptor == b.descriptor) ||
           (a.IsRegularFile() && b.IsRegularFile() && IdentityOf(*a.file) == IdentityOf(*b.file) &&
            (a.descriptor >= 0 || b.descriptor >= 0));
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw Failure(ExitCode::kOutput, "cannot make the folder " + folder + ": " + error.message());
    }
}

/// A text that the tool wrote for this very result may be replaced; notes of a person may not.
void RefuseForeignText(const std::string& path, const std::string& describes) {
    const std::optional<std::string> text = ReadSideFile(path);
    if (text && !IsSidecarTextOf(*text, describes)) {
        throw Failure(ExitCode::kUsage, path + " exists and is not the sidecar of " + describes +
                                            "; move it away, or choose another name for the result");
    }
}

}  // namespace

OutputPlan::OutputPlan(const OutputOptions& options) : m_options(options) {}

void OutputPlan::Protect(const std::string& path) {
    const std::optional<struct stat> status = StatusOf(path);
    if (status && S_ISREG(status->st_mode)) {
        m_inputs.insert(IdentityOf(*status));
    }
}

ResultNames OutputPlan::NamesFor(const std::string& input, std::optional<uint64_t> frames) const {
    ResultNames names;
    names.m_first = m_options.firstFrame;
    if (!m_options.folder.empty()) {
        static constexpr size_t kDigits = 5;
        const std::string stem = (fs::path(m_options.folder) / StemOf(input)).string();
        const std::string extension = std::string(".") + ExtensionOf(m_options.kind);
        const bool numbered = frames != 1 || m_options.alwaysNumbered;
        names.m_pattern = {numbered ? stem + "_" : stem + extension, extension, numbered, kDigits, '0'};
        names.m_filePerFrame = true;
        return names;
    }
    names.m_pattern = m_options.path == "-" ? NamePattern{"-", "", false, 0, '0'} : ParsePattern(m_options.path);
    names.m_filePerFrame = names.m_pattern.numbered;
    names.m_takesMany = !names.m_pattern.numbered && (m_options.path == "-" || IsAppendable(m_options.kind));
    return names;
}

bool OutputPlan::WantsSidecar(const std::string& path) const {
    if (!m_options.sidecar || path == "-") {
        return false;
    }
    const Destination destination = FindDestination(path);
    return destination.descriptor < 0 && (!destination.file || destination.IsRegularFile());
}

void OutputPlan::Register(const Planned& planned) {
    const Destination destination = DestinationOf(planned.path);
    if (destination.descriptor >= 0 || (destination.file && !destination.IsRegularFile())) {
        Check(planned);
        return;
    }
    const auto [taken, fresh] = m_results.emplace(destination.path, planned);
    if (!fresh) {
        throw Failure(ExitCode::kUsage,
                      taken->second.source + " and " + planned.source + " would both become " + planned.path);
    }
}

void OutputPlan::RegisterFrame(const std::string& path, const std::string& input) {
    Register({path, input == "-" ? "standard input" : input, ""});
    if (WantsSidecar(path)) {
        Register({SidecarPath(path), "the sidecar of " + path, path});
    }
}

ResultNames OutputPlan::Add(const std::string& input, std::optional<uint64_t> frames, const RawShape& shape) {
    ResultNames names = NamesFor(input, frames);
    if (!names.FilePerFrame()) {
        if (frames.value_or(1) > 1 && !names.TakesMany()) {
            throw Failure(ExitCode::kUsage, input + " holds " + std::to_string(*frames) + " frames of " + shape.Text() +
                                                "; number the outputs (out_%05d." + ExtensionOf(m_options.kind) +
                                                "), or use --output-dir or --frame");
        }
        RegisterFrame(names.Of(0), input);
        return names;
    }
    // Two frames of a stream show whether its names collide.
    for (uint64_t frame = 0; frame < frames.value_or(2); ++frame) {
        RegisterFrame(names.Of(frame), input);
    }
    return names;
}

void OutputPlan::Check(const Planned& planned) const {
    const Destination destination = DestinationOf(planned.path);
    if (destination.IsRegularFile() && m_inputs.count(IdentityOf(*destination.file)) != 0) {
        throw Failure(ExitCode::kUsage, NameOf(planned.path) + " is an input; an input is never overwritten");
    }
    if (destination.descriptor >= 0 || !destination.file) {
        return;
    }
    if (m_options.existing == Existing::kRefuse && destination.IsRegularFile()) {
        throw Failure(ExitCode::kUsage, planned.path + " exists already (--no-overwrite)");
    }
    if (!planned.describes.empty()) {
        RefuseForeignText(planned.path, planned.describes);
    }
}

void OutputPlan::PlanReport() {
    if (m_options.report.empty()) {
        return;
    }
    const Destination report = DestinationOf(m_options.report);
    if (!m_options.path.empty() && SameTarget(report, DestinationOf(m_options.path))) {
        throw Failure(ExitCode::kUsage, "the report and the result would both go to " + NameOf(m_options.path));
    }
    m_reportPath = report.path;
    Register({m_options.report, "the report", ""});
}

void OutputPlan::Begin() {
    PlanReport();
    for (const auto& [path, planned] : m_results) {
        Check(planned);
    }
    m_results.clear();
    if (!m_options.folder.empty()) {
        MakeFolder(m_options.folder);
    }
}

void OutputPlan::CheckFrame(const std::string& path) const {
    if (!m_reportPath.empty() && FindDestination(path).path == m_reportPath) {
        throw Failure(ExitCode::kUsage, path + " is the report");
    }
    Check({path, "", ""});
    if (WantsSidecar(path)) {
        Check({SidecarPath(path), "", path});
    }
}

bool OutputPlan::Keeps(const std::string& path) const {
    return m_options.existing == Existing::kSkip && path != "-" && FindDestination(path).IsRegularFile();
}

void OutputPlan::WriteSidecarOf(const std::string& path, const RawShape& tight) const {
    if (!WantsSidecar(path)) {
        return;
    }
    const std::string text = SidecarText(path, tight);
    const WriteRules rules = {m_options.existing != Existing::kRefuse, m_options.sync};
    RefuseForeignText(SidecarPath(path), path);
    WriteWholeFile(SidecarPath(path), {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, rules);
}

void OutputPlan::Write(const std::string& path, Bytes bytes, const RawShape& tight) const {
    WriteWholeFile(path, bytes, m_options.Rules());
    WriteSidecarOf(path, tight);
}

}  // namespace VexaTool
