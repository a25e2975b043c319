// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
/**
 * @file
 * The frames layer for C++20: header only, over VexaCamFrames.h, which is the manual of every unit and rule.
 *
 *     #include <VexaCamFrames.hpp>
 *
 *     void show(std::span<const uint8_t> buffer, std::span<uint8_t> bgra)
 *     {
 *         static vcf::Converter converter(
 *             vcf::Layout(vcf::Format::Named("BayerRG12p"), 1920, 1080).Stride(2944), vcf::Output::kBgra);
 *         converter.Convert(buffer, bgra);      // throws vcf::Error
 *     }
 *
 * Every operation that can fail has two forms: one that throws vcf::Error, and one with Try in its name that returns a
 * vcf::Status. Lengths come with the spans, so that the picture's length is checked too.
 */
#ifndef VEXACAMFRAMES_HPP
#define VEXACAMFRAMES_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include <VexaCamFrames.h>

namespace vcf {

/// What came of an operation: a code, and a sentence for people unless it succeeded.
class [[nodiscard]] Status {
  public:
    /// Success.
    Status() = default;
    /// A code with its sentence.
    Status(VcfStatus code, std::string text) : m_code(code), m_text(std::move(text)) {}

    /// Whether the operation succeeded.
    [[nodiscard]] bool IsOk() const { return m_code == VCF_OK; }
    /// VCF_OK or what went wrong.
    [[nodiscard]] VcfStatus Code() const { return m_code; }
    /// The sentence; empty after a success.
    [[nodiscard]] const std::string& Text() const { return m_text; }

  private:
    VcfStatus m_code = VCF_OK;
    std::string m_text;
};

/// What the throwing forms throw.
class Error : public std::runtime_error {
  public:
    /// The status as an exception.
    explicit Error(const Status& status) : std::runtime_error(status.Text()), m_code(status.Code()) {}
    /// What went wrong.
    [[nodiscard]] VcfStatus Code() const { return m_code; }

  private:
    VcfStatus m_code;
};

namespace detail {

/// Calls a C function with room for its text.
template <class Function, class... Arguments>
Status Call(Function function, Arguments... arguments) {
    char text[VCF_TEXT_BYTES] = "";
    const VcfStatus code = function(arguments..., text, sizeof text);
    return code == VCF_OK ? Status() : Status(code, text);
}

inline void ThrowUnlessOk(const Status& status) {
    if (!status.IsOk()) {
        throw Error(status);
    }
}

}  // namespace detail

/// A pixel format that the library knows. A format is made from a known name or code only.
class Format {
  public:
    /// The format with that name, alias or hexadecimal code; the error proposes the nearest names.
    static Format Named(const std::string& name) {
        const std::optional<Format> found = TryNamed(name);
        if (!found) {
            char nearest[VCF_TEXT_BYTES] = "";
            static_cast<void>(VcfNearestNames(name.c_str(), nearest, sizeof nearest));
            const std::string proposal = nearest[0] == '\0' ? "" : std::string("; did you mean ") + nearest + "?";
            throw Error({VCF_UNKNOWN_FORMAT, "unknown pixel format '" + name + "'" + proposal});
        }
        return *found;
    }
    /// The format with that name, alias or hexadecimal code; empty for an unknown one.
    static std::optional<Format> TryNamed(const std::string& name) { return TryOfCode(VcfFormatNamed(name.c_str())); }

    /// The format with that code.
    static Format OfCode(PixelFormat code) {
        const std::optional<Format> found = TryOfCode(code);
        if (!found) {
            char text[48];
            static_cast<void>(std::snprintf(text, sizeof text, "no known pixel format has the code 0x%08X", code));
            throw Error({VCF_UNKNOWN_FORMAT, text});
        }
        return *found;
    }
    /// The format with that code; empty for an unknown one.
    static std::optional<Format> TryOfCode(PixelFormat code) {
        const VcfFormat* info = VcfFindFormat(code);
        return info == nullptr ? std::nullopt : std::optional(Format(info));
    }

    /// The code.
    [[nodiscard]] PixelFormat Code() const { return m_info->format; }
    /// The name.
    [[nodiscard]] std::string Name() const { return m_info->name; }
    /// All that is known of the format.
    [[nodiscard]] const VcfFormat& Info() const { return *m_info; }
    /// The format of a part that begins at (x, y): odd offsets change the phase of a mosaic.
    [[nodiscard]] Format AfterRegion(uint32_t x, uint32_t y) const {
        return OfCode(VcfFormatAfterRegion(Code(), x, y));
    }
    /// Whether both are the same format.
    friend bool operator==(const Format& a, const Format& b) { return a.Code() == b.Code(); }

  private:
    explicit Format(const VcfFormat* info) : m_info(info) {}
    const VcfFormat* m_info;
};

/// How a frame lies in a buffer; VcfLayout with setters that can be chained.
class Layout {
  public:
    /// Rows without padding from the first byte of the buffer on.
    Layout(Format format, uint32_t width, uint32_t height) { VcfInitLayout(&m_layout, format.Code(), width, height); }
    /// The layout of the C interface.
    explicit Layout(const VcfLayout& layout) : m_layout(layout) {}

    /// Sets the bytes from row to row. @return this layout
    Layout& Stride(uint64_t bytes) { return m_layout.stride = bytes, *this; }
    /// Sets the bytes before the first row. @return this layout
    Layout& Offset(uint64_t bytes) { return m_layout.offset = bytes, *this; }
    /// Sets how many bits samples are shifted to the left. @return this layout
    Layout& Shift(uint32_t bits) { return m_layout.shift = bits, *this; }
    /// Takes Y as 16 to 235, U and V as 16 to 240. @return this layout
    Layout& LimitedRange() { return m_layout.range = VCF_RANGE_LIMITED, *this; }

    /// The layout for the C interface.
    [[nodiscard]] const VcfLayout& Get() const { return m_layout; }
    /// Pixels of a row.
    [[nodiscard]] uint32_t Width() const { return m_layout.width; }
    /// Number of rows.
    [[nodiscard]] uint32_t Height() const { return m_layout.height; }
    /// Bytes of a buffer up to the last pixel; see VcfBytesNeeded.
    [[nodiscard]] uint64_t BytesNeeded() const { return VcfBytesNeeded(&m_layout); }
    /// Bytes of a row without padding.
    [[nodiscard]] uint64_t RowBytes() const { return VcfRowBytes(&m_layout); }

    /// Whether the layout makes sense; see VcfCheckLayout.
    [[nodiscard]] Status Check() const { return detail::Call(VcfCheckLayout, &m_layout); }
    /// Whether a frame of the layout fits into the buffer; see VcfCheckBuffer.
    [[nodiscard]] Status CheckBuffer(std::span<const uint8_t> buffer) const {
        return detail::Call(VcfCheckBuffer, &m_layout, uint64_t{buffer.size()});
    }

    /// The layout of a part of the frame, in the same buffer; see VcfCutRegion.
    [[nodiscard]] Layout Region(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const {
        Layout region = *this;
        detail::ThrowUnlessOk(TryRegion(x, y, width, height, region));
        return region;
    }
    /// Region without an exception. @return what came of it
    Status TryRegion(uint32_t x, uint32_t y, uint32_t width, uint32_t height, Layout& region) const {
        return detail::Call(VcfCutRegion, &m_layout, x, y, width, height, &region.m_layout);
    }

  private:
    VcfLayout m_layout;
};

/// What a converter writes.
enum class Output : uint32_t {
    kBgra = VCF_OUTPUT_BGRA,      ///< bytes B, G, R, 255
    kBgr = VCF_OUTPUT_BGR,        ///< bytes B, G, R
    kRgb = VCF_OUTPUT_RGB,        ///< bytes R, G, B
    kRgba = VCF_OUTPUT_RGBA,      ///< bytes R, G, B, 255
    kGrey8 = VCF_OUTPUT_GREY8,    ///< one byte
    kGrey16 = VCF_OUTPUT_GREY16,  ///< one 16-bit word
};

/// VcfSettings with their defaults.
struct Settings : VcfSettings {
    /// The defaults.
    Settings() : VcfSettings() { VcfInitSettings(this); }
};

/// EstimateBalance without an exception. @return what came of it
inline Status TryEstimateBalance(const Layout& layout, std::span<const uint8_t> buffer, uint32_t blackLevel,
                                 VcfBalance& balance, uint32_t step = 1) {
    return detail::Call(VcfEstimateBalance, &layout.Get(), static_cast<const void*>(buffer.data()), buffer.size(),
                        blackLevel, step, &balance);
}
/// White balance gains of a frame; see VcfEstimateBalance.
inline VcfBalance EstimateBalance(const Layout& layout, std::span<const uint8_t> buffer, uint32_t blackLevel = 0,
                                  uint32_t step = 1) {
    VcfBalance balance;
    detail::ThrowUnlessOk(TryEstimateBalance(layout, buffer, blackLevel, balance, step));
    return balance;
}

/// Converts frames of one layout. Movable; one thread at a time.
class Converter {
  public:
    /// For a layout, an output and settings; see VcfCreateConverter.
    Converter(const Layout& layout, Output output, const Settings& settings = {}) : m_layout(layout) {
        detail::ThrowUnlessOk(Make(output, settings));
    }
    /// A converter without an exception: empty on failure, and `status` says why.
    static std::optional<Converter> TryMake(const Layout& layout, Output output, const Settings& settings,
                                            Status& status) {
        Converter converter(layout);
        status = converter.Make(output, settings);
        return status.IsOk() ? std::optional(std::move(converter)) : std::nullopt;
    }

    /// Bytes of a row of the picture.
    [[nodiscard]] size_t RowBytes() const { return VcfPictureRowBytes(m_converter.get()); }
    /// Bytes of a picture with that stride; SIZE_MAX if a buffer cannot have as many.
    [[nodiscard]] size_t PictureBytes(size_t stride = 0) const {
        const size_t step = stride == 0 ? RowBytes() : stride;
        const size_t rowsAbove = m_layout.Height() - 1;
        return rowsAbove > 0 && step > (SIZE_MAX - RowBytes()) / rowsAbove ? SIZE_MAX : step * rowsAbove + RowBytes();
    }

    /// Other settings from the next frame on; see VcfChangeSettings.
    void Change(const Settings& settings) { detail::ThrowUnlessOk(TryChange(settings)); }
    /// Change without an exception. @return what came of it
    Status TryChange(const Settings& settings) {
        return detail::Call(VcfChangeSettings, m_converter.get(), static_cast<const VcfSettings*>(&settings));
    }

    /// Converts a frame; see VcfConvert.
    void Convert(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride = 0) {
        detail::ThrowUnlessOk(TryConvert(buffer, picture, stride));
    }
    /// Convert without an exception. @return what came of it
    Status TryConvert(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride = 0) {
        return TryConvertRows(buffer, picture, stride, 0, m_layout.Height());
    }

    /// Converts a band of rows. `picture` is the whole picture.
    void ConvertRows(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride, uint32_t firstRow,
                     uint32_t rowCount) {
        detail::ThrowUnlessOk(TryConvertRows(buffer, picture, stride, firstRow, rowCount));
    }
    /// ConvertRows without an exception. @return what came of it
    Status TryConvertRows(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride, uint32_t firstRow,
                          uint32_t rowCount) {
        const size_t needed = PictureBytes(stride);
        if (needed == SIZE_MAX) {
            return {VCF_BAD_STRIDE,
                    "a destination with a stride of " + std::to_string(stride) + " bytes exceeds the address space"};
        }
        if (picture.size() < needed) {
            return {VCF_INVALID_ARGUMENT, "the picture needs " + std::to_string(needed) + " bytes, there is room for " +
                                              std::to_string(picture.size())};
        }
        return detail::Call(VcfConvertRows, m_converter.get(), static_cast<const void*>(buffer.data()), buffer.size(),
                            static_cast<void*>(picture.data()), stride, firstRow, rowCount);
    }

  private:
    struct Destroy {
        void operator()(VcfConverter* converter) const { VcfDestroyConverter(converter); }
    };

    explicit Converter(const Layout& layout) : m_layout(layout) {}

    Status Make(Output output, const Settings& settings) {
        VcfConverter* made = nullptr;
        Status status = detail::Call(VcfCreateConverter, &made, &m_layout.Get(), static_cast<uint32_t>(output),
                                     static_cast<const VcfSettings*>(&settings));
        m_converter.reset(made);
        return status;
    }

    Layout m_layout;
    std::unique_ptr<VcfConverter, Destroy> m_converter;
};

}  // namespace vcf

#endif
