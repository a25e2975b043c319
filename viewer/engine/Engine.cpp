// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The viewer's engine: C functions over the libraries and the guesser, made for a caller that sees numbers and memory
// only (src/engine.js). One call at a time; texts and pictures stay where they are until the next call.
//
//     room for a frame  <- the caller copies bytes in
//     EngineSet...      format, size, settings of the frame
//     EngineConvert     -> a picture in memory, or false and EngineMessage()
#include <VexaCamFrames.h>
#include <VexaCamUtl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "catalogue/VexaCamUtl.h"
#include "commands/GuessJson.h"
#include "formats/RwhHeader.h"
#include "guess/Guess.h"
#include "input/Sidecar.h"
#include "kernels/KernelTable.h"

#define ENGINE_API extern "C" __attribute__((visibility("default"), used))

namespace {

/// Memory that grows when more is needed and keeps no contents then.
class Room {
  public:
    uint8_t* Of(size_t bytes) {
        if (bytes > bytes_) {
            std::free(memory_);
            bytes_ = 0;
            memory_ = static_cast<uint8_t*>(std::malloc(bytes));
            if (memory_ == nullptr) {
                throw std::bad_alloc();
            }
            bytes_ = bytes;
        }
        return memory_;
    }
    uint8_t* Data() const { return memory_; }

  private:
    uint8_t* memory_ = nullptr;
    size_t bytes_ = 0;
};

/// The converter of the last frame; it serves the next one as long as the layout stays.
class KeptConverter {
  public:
    VcfStatus For(const VcfLayout& layout, uint32_t output, const VcfSettings& settings, char* text, size_t bytes) {
        if (converter_ != nullptr && output == output_ && std::memcmp(&layout, &layout_, sizeof layout) == 0) {
            return VcfChangeSettings(converter_, &settings, text, bytes);
        }
        VcfDestroyConverter(converter_);
        converter_ = nullptr;
        layout_ = layout;
        output_ = output;
        return VcfCreateConverter(&converter_, &layout, output, &settings, text, bytes);
    }
    VcfConverter* Get() const { return converter_; }

  private:
    VcfConverter* converter_ = nullptr;
    VcfLayout layout_ = {};
    uint32_t output_ = 0;
};

/// What is wrong, for the caller to show.
class Refusal : public std::exception {
  public:
    explicit Refusal(std::string text) : text_(std::move(text)) {}
    const char* what() const noexcept override { return text_.c_str(); }

  private:
    std::string text_;
};

struct State {
    Room input;
    Room text;
    Room output;
    Room grey;
    KeptConverter converter;
    VcfLayout layout = {};
    VcfSettings settings = {};
    bool asGrey = false;
    VcfBalance balance = {};
    std::string answer;   ///< of the last call that gives a text
    std::string message;  ///< of the last call that failed
};

State& The() {
    static State s_state;
    return s_state;
}

/// 1, or 0 with a message.
template <class Work>
int Guarded(Work work) {
    try {
        work(The());
        return 1;
    } catch (const std::bad_alloc&) {
        The().message = "out of memory";
    } catch (const std::exception& exception) {
        The().message = exception.what();
    }
    return 0;
}

/// Calls a function of the frames layer, whose last parameters are a text and its room.
template <class Function, class... Arguments>
void Call(Function function, Arguments... arguments) {
    char text[VCF_TEXT_BYTES];
    if (function(arguments..., text, sizeof text) != VCF_OK) {
        throw Refusal(text);
    }
}

std::string KindOf(const VcfFormat& format) {
    static constexpr const char* kKinds[] = {"mono", "bayer", "colour", "yuv"};
    return kKinds[format.kind];
}

std::string PackingOf(const VcfFormat& format) {
    static constexpr const char* kPackings[] = {"none", "10p", "12p", "10Packed", "12Packed", "10CSI2", "12CSI2"};
    return kPackings[format.packing];
}

std::string SitesOf(const VcfFormat& format) {
    static constexpr const char* kSites[] = {"", "GR", "RG", "GB", "BG"};
    return kSites[format.phase];
}

std::string JsonOf(const VcfFormat& format) {
    const auto text = [](const char* key, const std::string& value) {
        return std::string("\"") + key + "\": \"" + value + "\", ";
    };
    const auto number = [](const char* key, uint32_t value) {
        return std::string("\"") + key + "\": " + std::to_string(value) + ", ";
    };
    return "{" + text("name", format.name) + text("aliases", format.aliases) + text("kind", KindOf(format)) +
           text("packing", PackingOf(format)) + text("sites", SitesOf(format)) +
           text("unpacked", VcfFindFormat(format.unpacked)->name) + number("depth", format.depth) +
           number("bitsPerPixel", format.bits_per_pixel) + number("groupPixels", format.group_pixels) +
           number("groupBytes", format.group_bytes) + "\"code\": " + std::to_string(format.format) + "}";
}

std::string JsonOf(const VexaTool::RawShape& shape) {
    return "{\"format\": \"" + std::string(shape.format->name) + "\", \"width\": " + std::to_string(shape.width) +
           ", \"height\": " + std::to_string(shape.height) + ", \"stride\": " + std::to_string(shape.stride) +
           ", \"offset\": " + std::to_string(shape.offset) + ", \"shift\": " + std::to_string(shape.shift) +
           ", \"range\": \"" + (shape.limitedRange ? "limited" : "full") + "\"}";
}

uint64_t Pixels(const VcfLayout& layout) {
    return uint64_t{layout.width} * layout.height;
}

/// Every byte of YUV groups as a word, in place: the words end where the bytes' room ends.
void WidenBytes(uint8_t* words, size_t count) {
    const uint8_t* const bytes = words + count;
    for (size_t i = 0; i < count; ++i) {
        const uint16_t word = bytes[i];
        std::memcpy(words + 2 * i, &word, sizeof word);
    }
}

uint64_t SampleCount(const VcfLayout& layout) {
    const VcfFormat& format = *VcfFindFormat(layout.format);
    switch (format.kind) {
        case VCF_KIND_COLOUR:
            return 3 * Pixels(layout);
        case VCF_KIND_YUV:
            return Pixels(layout) * format.group_bytes / format.group_pixels;
        default:
            return Pixels(layout);
    }
}

}  // namespace

ENGINE_API const char* EngineMessage() {
    return The().message.c_str();
}

ENGINE_API const char* EngineAnswer() {
    return The().answer.c_str();
}

/// Where the caller puts a frame or the beginning of a file; null without memory.
ENGINE_API uint8_t* EngineInput(uint32_t bytes) {
    uint8_t* room = nullptr;
    Guarded([&](State& state) { room = state.input.Of(std::max(bytes, 1u)); });
    return room;
}

/// Where the caller puts a text that ends with a 0 byte: a format's name, a sidecar.
ENGINE_API uint8_t* EngineTextInput(uint32_t bytes) {
    uint8_t* room = nullptr;
    Guarded([&](State& state) { room = state.text.Of(std::max(bytes, 1u)); });
    return room;
}

ENGINE_API const char* EngineVersion() {
    return VEXACAMUTL_VERSION_TEXT;
}

/// The name of the kernel table in use.
ENGINE_API const char* EngineKernels() {
    return Vexa::s_psKernels->name;
}

/// All formats as a JSON array, in EngineAnswer.
ENGINE_API int EngineFormats() {
    return Guarded([](State& state) {
        state.answer = "[";
        for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
            state.answer += (i > 0 ? ", " : "") + JsonOf(*VcfFormatAt(i));
        }
        state.answer += "]";
    });
}

/// The layout of the frames to come; the format's name is in the room for texts.
ENGINE_API int EngineSetLayout(uint32_t width, uint32_t height, uint32_t stride, uint32_t shift, int limitedRange) {
    return Guarded([&](State& state) {
        const std::string name(reinterpret_cast<const char*>(state.text.Data()));
        VcfInitLayout(&state.layout, VexaTool::FormatNamed(name).code, width, height);
        state.layout.stride = stride;
        state.layout.shift = shift;
        state.layout.range = limitedRange != 0 ? VCF_RANGE_LIMITED : VCF_RANGE_FULL;
        Call(VcfCheckLayout, &state.layout);
    });
}

ENGINE_API double EngineRowBytes() {
    return static_cast<double>(VcfRowBytes(&The().layout));
}

ENGINE_API double EngineFrameBytes() {
    return static_cast<double>(VcfFrameBytes(&The().layout));
}

ENGINE_API double EngineBytesNeeded() {
    return static_cast<double>(VcfBytesNeeded(&The().layout));
}

/// Resets the settings to those without levels.
ENGINE_API void EngineSetDemosaic(uint32_t demosaic, int asGrey) {
    State& state = The();
    VcfInitSettings(&state.settings);
    state.settings.demosaic = demosaic;
    state.asGrey = asGrey != 0;
}

/// Gains and exposure as multiples of VCF_ONE, gamma in hundredths.
ENGINE_API void EngineSetLevels(uint32_t black, uint32_t red, uint32_t green, uint32_t blue, uint32_t exposure,
                                uint32_t tone, uint32_t gamma) {
    VcfSettings& settings = The().settings;
    settings.levels = 1;
    settings.black_level = black;
    settings.gain[0] = red;
    settings.gain[1] = green;
    settings.gain[2] = blue;
    settings.exposure = exposure;
    settings.tone = tone;
    settings.gamma = gamma;
}

/// One number of the matrix, which then applies; VCF_MATRIX_ONE is 1.0.
ENGINE_API void EngineSetMatrix(uint32_t index, int32_t value) {
    VcfSettings& settings = The().settings;
    settings.use_matrix = 1;
    settings.matrix[index % 9] = value;
}

/// BGRA of the frame in the input room, at EngineOutput.
ENGINE_API int EngineConvert(uint32_t length) {
    return Guarded([&](State& state) {
        const uint64_t pixels = Pixels(state.layout);
        if (pixels > UINT32_MAX / 4) {
            throw std::bad_alloc();
        }
        char text[VCF_TEXT_BYTES];
        const uint32_t output = state.asGrey ? VCF_OUTPUT_GREY8 : VCF_OUTPUT_BGRA;
        if (state.converter.For(state.layout, output, state.settings, text, sizeof text) != VCF_OK) {
            throw Refusal(text);
        }
        Call(VcfCheckBuffer, &state.layout, uint64_t{length});
        uint8_t* const picture = state.output.Of(static_cast<size_t>(4 * pixels));
        uint8_t* const direct = state.asGrey ? state.grey.Of(static_cast<size_t>(pixels)) : picture;
        Call(VcfConvert, state.converter.Get(), static_cast<const void*>(state.input.Data()), size_t{length},
             static_cast<void*>(direct), size_t{0});
        if (state.asGrey) {
            ConvMono8ToBGRA(picture, direct, state.layout.width, state.layout.height);
        }
    });
}

ENGINE_API uint8_t* EngineOutput() {
    return The().output.Data();
}

/// The samples of the frame in the input room as words, at EngineOutput; EngineSampleCount of them. The bytes of YUV
/// groups become words one by one.
ENGINE_API int EngineSamples(uint32_t length) {
    return Guarded([&](State& state) {
        const uint64_t count = SampleCount(state.layout);
        if (count > UINT32_MAX / 2) {
            throw std::bad_alloc();
        }
        Call(VcfCheckBuffer, &state.layout, uint64_t{length});
        const bool bytes = VcfFindFormat(state.layout.format)->kind == VCF_KIND_YUV;
        uint8_t* const words = state.output.Of(static_cast<size_t>(2 * count));
        uint8_t* const to = bytes ? words + static_cast<size_t>(count) : words;
        Call(VcfUnpack, static_cast<const VcfLayout*>(&state.layout), static_cast<const void*>(state.input.Data()),
             size_t{length}, static_cast<void*>(to), size_t{0}, bytes ? 1u : 2u);
        if (bytes) {
            WidenBytes(words, static_cast<size_t>(count));
        }
    });
}

ENGINE_API double EngineSampleCount() {
    return static_cast<double>(SampleCount(The().layout));
}

/// Grey-world gains of the frame in the input room, for EngineGain.
ENGINE_API int EngineBalance(uint32_t length, uint32_t black, uint32_t step) {
    return Guarded([&](State& state) {
        Call(VcfEstimateBalance, static_cast<const VcfLayout*>(&state.layout),
             static_cast<const void*>(state.input.Data()), size_t{length}, black, step, &state.balance);
    });
}

ENGINE_API double EngineGain(uint32_t channel) {
    return static_cast<double>(The().balance.gain[channel % 3]) / VCF_ONE;
}

/// The ranking for a file that begins with the bytes in the input room, as JSON in EngineAnswer.
ENGINE_API int EngineGuess(uint32_t length, double fileBytes, uint32_t most) {
    return Guarded([&](State& state) {
        const auto guesses =
            VexaGuess::RankLayouts({state.input.Data(), length}, static_cast<uint64_t>(fileBytes), most);
        state.answer = VexaTool::JsonOf(guesses);
    });
}

/// The cost per byte above which a guess explains nothing.
ENGINE_API double EngineExplainsNothing() {
    return VexaGuess::kExplainsNothing;
}

/// The shape that the first 16 bytes in the input room name, as JSON in EngineAnswer.
ENGINE_API int EngineRwhHeader(uint32_t length) {
    return Guarded([&](State& state) {
        if (length < VexaTool::kRwhHeaderBytes) {
            throw Refusal("an RWH header has 16 bytes; the file is " +
                          std::to_string(VexaTool::kRwhHeaderBytes - length) + " bytes too short for it");
        }
        uint32_t words[4];
        std::memcpy(words, state.input.Data(), sizeof words);
        state.answer = JsonOf(VexaTool::ShapeOfRwhHeader({words[0], words[1], words[2], words[3]}, "RWH file"));
    });
}

/// The shape that the sidecar in the room for texts names, as JSON in EngineAnswer.
ENGINE_API int EngineSidecar() {
    return Guarded([](State& state) {
        state.answer = JsonOf(VexaTool::ParseSidecar(reinterpret_cast<const char*>(state.text.Data()), "sidecar"));
    });
}
