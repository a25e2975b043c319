// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the results of a command are called: decided once, before anything is written.
//
//     out.png            one frame, or all frames of a kind that can hold many (bgra, bgr, raw)
//     out_%05d.png       frame number n, written as the pattern says; %% is a percent sign
//     folder             folder/<input's stem>.png, or folder/<stem>_00000.png ... when the input holds several frames
//
// The whole plan is refused when
//
//     - a result, or the text beside it, is a file that the command reads, by this name or any other
//     - two results have one name
//     - a text beside a result would replace a text that the tool did not write for it
//     - the report is one of those files or results
//     - results are to stay (Existing::kRefuse) and one of them exists
//
// Streams do not tell how many frames they hold; the names of their further frames are checked as they come.
#pragma once

#include <atomic>
#include <map>
#include <set>
#include <vector>

#include "formats/RawShape.h"
#include "output/OutputFile.h"
#include "output/OutputNames.h"
#include "output/PictureWriter.h"

namespace VexaTool {

/// What happens to results that exist already.
enum class Existing { kReplace, kRefuse, kSkip };

struct OutputOptions {
    std::string path;    ///< a path, a pattern or "-"; empty with a folder
    std::string folder;  ///< empty with a path
    OutputKind kind = OutputKind::kPng;
    bool sidecar = false;  ///< a text beside each result says its layout
    Existing existing = Existing::kReplace;
    bool sync = false;
    std::string report;           ///< a text that says what became of each frame; empty for none
    uint64_t firstFrame = 0;      ///< number of the first frame of each input
    bool alwaysNumbered = false;  ///< in a folder, also the result of an input with one frame

    WriteRules Rules() const { return {existing == Existing::kReplace, sync}; }
};

/// The results of one input.
class ResultNames {
  public:
    /// True when each frame has a file of its own, false when all go into one.
    bool FilePerFrame() const { return m_filePerFrame; }

    /// True when one file takes all frames, one after another.
    bool TakesMany() const { return m_takesMany; }

    /// `frame` is counted from the first one that is read.
    std::string Of(uint64_t frame) const { return m_pattern.Of(m_first + frame); }

  private:
    friend class OutputPlan;
    NamePattern m_pattern;
    uint64_t m_first = 0;
    bool m_filePerFrame = false;
    bool m_takesMany = false;
};

class OutputPlan {
  public:
    explicit OutputPlan(const OutputOptions& options);

    const OutputOptions& Options() const { return m_options; }

    /// True when one file takes all frames, in their order.
    bool OneFileForAll() const { return NamesFor("", std::nullopt).TakesMany(); }

    /// A file that is read; "-" for standard input.
    void Protect(const std::string& path);

    /// Names the results of an input; `frames` is empty for streams. A Failure when it has more frames than the output
    /// can hold.
    ResultNames Add(const std::string& input, std::optional<uint64_t> frames, const RawShape& shape);

    /// After the last input: a Failure that refuses the plan, else the folder is made and writing may begin.
    void Begin();

    // From here on from any thread.

    /// True for a result that exists and is to stay.
    bool Keeps(const std::string& path) const;
    void CountSkipped() { ++m_skipped; }
    uint64_t Skipped() const { return m_skipped; }

    /// A result with its text beside it, where one is wanted.
    void Write(const std::string& path, Bytes bytes, const RawShape& tight) const;
    void WriteSidecarOf(const std::string& path, const RawShape& tight) const;

    /// For a frame of a stream: a Failure for what Begin refuses.
    void CheckFrame(const std::string& path) const;

  private:
    /// A file that the command is going to make.
    struct Planned {
        std::string path;       ///< as the user knows it
        std::string source;     ///< what it is made of, for messages
        std::string describes;  ///< of a text beside a result: that result
    };

    bool WantsSidecar(const std::string& path) const;
    void PlanReport();
    void Register(const Planned& planned);
    void RegisterFrame(const std::string& path, const std::string& input);
    void Check(const Planned& planned) const;
    ResultNames NamesFor(const std::string& input, std::optional<uint64_t> frames) const;

    OutputOptions m_options;
    std::set<FileIdentity> m_inputs;
    std::map<std::string, Planned> m_results;  ///< by where they really go
    std::string m_reportPath;                  ///< where the report really goes
    std::atomic<uint64_t> m_skipped = 0;
};

}  // namespace VexaTool
