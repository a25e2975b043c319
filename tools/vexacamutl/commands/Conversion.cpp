// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Conversion.h: the choice between the two ways, and the ordered one.
#include "commands/Conversion.h"
#include "output/OutputFile.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <filesystem>

#include "Failure.h"
#include "commands/Batch.h"
#include "commands/Parallel.h"
#include "commands/Progress.h"
#include "formats/Unpack.h"
#include "input/FrameFeed.h"
#include "input/Sidecar.h"
#include "output/OutputNames.h"

namespace VexaTool {

namespace {

namespace fs = std::filesystem;

/// A frame on its way through the ordered conversion.
struct Slot {
    explicit Slot(const EncodeOptions& options) : encoder(options) {}
    FrameEncoder encoder;
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> scratch;
    Bytes raw;
    std::vector<uint8_t> encoded;
    std::exception_ptr failure;
};

/// Where the ordered conversion writes: everything into one file, or each frame into its own.
class OrderedOutput {
  public:
    OrderedOutput(const ConversionOptions& options, const RawShape& tight, bool severalFrames)
        : options_(options), tight_(tight), takesMany_(options.output == "-" || IsAppendable(options.encode.kind)) {
        numbered_ = !options.outputDir.empty() || NumberedPath(options.output, 0).has_value();
        severalFrames_ = severalFrames;
        if (!numbered_) {
            file_ = std::make_unique<OutputFile>(options.output);
        }
    }

    void Write(uint64_t index, Bytes bytes) {
        if (numbered_) {
            const std::string path = PathOf(index);
            WriteWholeFile(path, bytes);
            Describe(path);
            return;
        }
        if (index > 0 && !takesMany_) {
            throw Failure(ExitCode::kUsage, "there is more than one frame for " + options_.output +
                                                "; number the outputs (out_%05d.png), or use --output-dir or --frame");
        }
        file_->Write(bytes);
    }

    void Commit() {
        if (file_) {
            file_->Commit();
            Describe(options_.output);
        }
    }

  private:
    std::string PathOf(uint64_t index) const {
        if (options_.outputDir.empty()) {
            return *NumberedPath(options_.output, index);
        }
        return PathInFolder(options_.outputDir, options_.inputs[0], ExtensionOf(options_.encode.kind),
                            severalFrames_ ? std::optional(index) : std::nullopt);
    }

    void Describe(const std::string& path) const {
        if (options_.sidecar && path != "-") {
            WriteSidecar(path, tight_);
        }
    }

    const ConversionOptions& options_;
    const RawShape& tight_;
    const bool takesMany_;
    bool numbered_;
    bool severalFrames_;
    std::unique_ptr<OutputFile> file_;
};

void EncodeSlot(Slot& slot, const RawShape& shape, const RawShape& tight, RangeCheck* range) {
    try {
        const Bytes frame = TightFrame(shape, slot.raw, slot.scratch);
        slot.encoded = slot.encoder.Encode(tight, frame);
        if (range != nullptr) {
            range->Add(tight, frame);
        }
    } catch (...) {
        slot.failure = std::current_exception();
    }
}

void ConvertInOrder(const ConversionOptions& options) {
    const std::string& input = options.inputs[0];
    FrameFeed feed(input, options.input);
    const RawShape tight = TightShape(feed.Shape());
    const std::optional<uint64_t> count = feed.Count();
    Progress progress(options.quiet);
    RangeCheck range;
    OrderedOutput output(options, tight, !options.input.frame && count != 1);
    // A live stream is shown as it comes: with one thread no frame waits for the next.
    std::vector<Slot> slots;
    for (unsigned i = 0; i < options.jobs; ++i) {
        slots.emplace_back(options.encode);
    }
    for (uint64_t written = 0;;) {
        size_t filled = 0;
        while (filled < slots.size() && feed.Next(slots[filled].raw, slots[filled].buffer)) {
            ++filled;
        }
        OnThreads(filled, [&](size_t i) {
            if (i < filled) {
                EncodeSlot(slots[i], feed.Shape(), tight, options.checkRange ? &range : nullptr);
            }
        });
        for (size_t i = 0; i < filled; ++i, ++written) {
            if (slots[i].failure) {
                std::rethrow_exception(slots[i].failure);
            }
            output.Write(written, slots[i].encoded);
            progress.FrameDone(count ? std::optional(static_cast<double>(written + 1) / static_cast<double>(*count))
                                     : std::nullopt);
        }
        if (filled < slots.size()) {
            break;
        }
    }
    output.Commit();
    if (options.checkRange) {
        progress.Note(range.Line(input == "-" ? "standard input" : input));
    }
}

bool IsRawFile(const fs::directory_entry& entry) {
    std::string extension = entry.path().extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return entry.is_regular_file() && (extension == ".raw" || extension == ".bin" || IsRwhPath(entry.path().string()));
}

/// Folders are replaced by the raw frames in them.
std::vector<std::string> WithoutFolders(const ConversionOptions& options) {
    std::vector<std::string> files;
    for (const std::string& input : options.inputs) {
        std::error_code error;
        if (input == "-" || !fs::is_directory(input, error)) {
            files.push_back(input);
            continue;
        }
        if (options.outputDir.empty()) {
            throw Failure(ExitCode::kUsage, input + " is a folder; give --output-dir for the results");
        }
        std::vector<std::string> found;
        for (const fs::directory_entry& entry : fs::directory_iterator(input, error)) {
            if (IsRawFile(entry)) {
                found.push_back(entry.path().string());
            }
        }
        if (error) {
            throw Failure(ExitCode::kInput, "cannot read " + input + ": " + error.message());
        }
        if (found.empty()) {
            throw Failure(ExitCode::kInput, input + ": no raw frames (*.raw, *.bin, *.rwh) in this folder");
        }
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw Failure(ExitCode::kOutput, "cannot make the folder " + folder + ": " + error.message());
    }
}

}  // namespace

void RunConversion(const ConversionOptions& given) {
    ConversionOptions options = given;
    options.inputs = WithoutFolders(given);
    if (!options.outputDir.empty()) {
        MakeFolder(options.outputDir);
    }
    const bool streamed = std::any_of(options.inputs.begin(), options.inputs.end(), IsStream);
    if (streamed && options.inputs.size() > 1) {
        throw Failure(ExitCode::kUsage, "a stream has to be the only input");
    }
    const bool oneOutput = options.outputDir.empty() && !NumberedPath(options.output, 0);
    if (streamed || (oneOutput && (options.output == "-" || IsAppendable(options.encode.kind)))) {
        ConvertInOrder(options);
    } else {
        Batch(options).Run();
    }
}

}  // namespace VexaTool
