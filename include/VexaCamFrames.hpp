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
    Status() = default;
    Status(VcfStatus code, std::string text) : m_code(code), m_text(std::move(text)) {}

    [[nodiscard]] bool IsOk() const { return m_code == VCF_OK; }
    [[nodiscard]] VcfStatus Code() const { return m_code; }
    [[nodiscard]] const std::string& Text() const { return m_text; }

  private:
    VcfStatus m_code = VCF_OK;
    std::string m_text;
};

/// What the throwing forms throw.
class Error : public std::runtime_error {
  public:
    explicit Error(const Status& status) : std::runtime_error(status.Text()), m_code(status.Code()) {}
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

/// A pixel format that the library knows. There is no other way to get one than by a known name or code.
class Format {
  public:
    /// By name, alias or hexadecimal code; the error names the nearest names.
    static Format Named(const std::string& name) {
        const std::optional<Format> found = TryNamed(name);
        if (!found) {
            char nearest[VCF_TEXT_BYTES] = "";
            static_cast<void>(VcfNearestNames(name.c_str(), nearest, sizeof nearest));
            throw Error({VCF_UNKNOWN_FORMAT, "unknown pixel format '" + name + "'; did you mean " + nearest + "?"});
        }
        return *found;
    }
    static std::optional<Format> TryNamed(const std::string& name) { return TryOfCode(VcfFormatNamed(name.c_str())); }

    static Format OfCode(PixelFormat code) {
        const std::optional<Format> found = TryOfCode(code);
        if (!found) {
            throw Error({VCF_UNKNOWN_FORMAT, "no known pixel format has the code " + std::to_string(code)});
        }
        return *found;
    }
    static std::optional<Format> TryOfCode(PixelFormat code) {
        const VcfFormat* info = VcfFindFormat(code);
        return info == nullptr ? std::nullopt : std::optional(Format(info));
    }

    [[nodiscard]] PixelFormat Code() const { return m_info->format; }
    [[nodiscard]] std::string Name() const { return m_info->name; }
    [[nodiscard]] const VcfFormat& Info() const { return *m_info; }
    /// The format of a part that begins at (x, y): odd offsets change the phase of a mosaic.
    [[nodiscard]] Format AfterRegion(uint32_t x, uint32_t y) const {
        return OfCode(VcfFormatAfterRegion(Code(), x, y));
    }
    friend bool operator==(const Format& a, const Format& b) { return a.Code() == b.Code(); }

  private:
    explicit Format(const VcfFormat* info) : m_info(info) {}
    const VcfFormat* m_info;
};

/// How a frame lies in a buffer; VcfLayout with setters that can be chained.
class Layout {
  public:
    Layout(Format format, uint32_t width, uint32_t height) { VcfInitLayout(&m_layout, format.Code(), width, height); }
    explicit Layout(const VcfLayout& layout) : m_layout(layout) {}

    Layout& Stride(uint64_t bytes) { return m_layout.stride = bytes, *this; }
    Layout& Offset(uint64_t bytes) { return m_layout.offset = bytes, *this; }
    Layout& Shift(uint32_t bits) { return m_layout.shift = bits, *this; }
    Layout& LimitedRange() { return m_layout.range = VCF_RANGE_LIMITED, *this; }

    [[nodiscard]] const VcfLayout& Get() const { return m_layout; }
    [[nodiscard]] uint32_t Width() const { return m_layout.width; }
    [[nodiscard]] uint32_t Height() const { return m_layout.height; }
    [[nodiscard]] uint64_t BytesNeeded() const { return VcfBytesNeeded(&m_layout); }
    [[nodiscard]] uint64_t RowBytes() const { return VcfRowBytes(&m_layout); }

    [[nodiscard]] Status Check() const { return detail::Call(VcfCheckLayout, &m_layout); }
    [[nodiscard]] Status CheckBuffer(std::span<const uint8_t> buffer) const {
        return detail::Call(VcfCheckBuffer, &m_layout, uint64_t{buffer.size()});
    }

    [[nodiscard]] Layout Region(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const {
        Layout region = *this;
        detail::ThrowUnlessOk(TryRegion(x, y, width, height, region));
        return region;
    }
    Status TryRegion(uint32_t x, uint32_t y, uint32_t width, uint32_t height, Layout& region) const {
        return detail::Call(VcfCutRegion, &m_layout, x, y, width, height, &region.m_layout);
    }

  private:
    VcfLayout m_layout;
};

enum class Output : uint32_t {
    kBgra = VCF_OUTPUT_BGRA,
    kBgr = VCF_OUTPUT_BGR,
    kRgb = VCF_OUTPUT_RGB,
    kRgba = VCF_OUTPUT_RGBA,
    kGrey8 = VCF_OUTPUT_GREY8,
    kGrey16 = VCF_OUTPUT_GREY16,
};

/// VcfSettings with their defaults.
struct Settings : VcfSettings {
    Settings() : VcfSettings() { VcfInitSettings(this); }
};

/// White balance gains of a frame; see VcfEstimateBalance.
inline Status TryEstimateBalance(const Layout& layout, std::span<const uint8_t> buffer, uint32_t blackLevel,
                                 VcfBalance& balance, uint32_t step = 1) {
    return detail::Call(VcfEstimateBalance, &layout.Get(), static_cast<const void*>(buffer.data()), buffer.size(),
                        blackLevel, step, &balance);
}
inline VcfBalance EstimateBalance(const Layout& layout, std::span<const uint8_t> buffer, uint32_t blackLevel = 0,
                                  uint32_t step = 1) {
    VcfBalance balance;
    detail::ThrowUnlessOk(TryEstimateBalance(layout, buffer, blackLevel, balance, step));
    return balance;
}

/// Converts frames of one layout. Movable; one thread at a time.
class Converter {
  public:
    Converter(const Layout& layout, Output output, const Settings& settings = {}) : m_layout(layout) {
        detail::ThrowUnlessOk(Make(output, settings));
    }
    /// Empty on failure, and `status` says why.
    static std::optional<Converter> TryMake(const Layout& layout, Output output, const Settings& settings,
                                            Status& status) {
        Converter converter(layout);
        status = converter.Make(output, settings);
        return status.IsOk() ? std::optional(std::move(converter)) : std::nullopt;
    }

    [[nodiscard]] size_t RowBytes() const { return VcfPictureRowBytes(m_converter.get()); }
    /// Bytes of a picture whose rows are `stride` bytes apart (0: no padding).
    [[nodiscard]] size_t PictureBytes(size_t stride = 0) const {
        return (stride == 0 ? RowBytes() : stride) * (m_layout.Height() - 1) + RowBytes();
    }

    void Change(const Settings& settings) { detail::ThrowUnlessOk(TryChange(settings)); }
    Status TryChange(const Settings& settings) {
        return detail::Call(VcfChangeSettings, m_converter.get(), static_cast<const VcfSettings*>(&settings));
    }

    void Convert(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride = 0) {
        detail::ThrowUnlessOk(TryConvert(buffer, picture, stride));
    }
    Status TryConvert(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride = 0) {
        return TryConvertRows(buffer, picture, stride, 0, m_layout.Height());
    }

    /// A band of rows. `picture` is the whole picture.
    void ConvertRows(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride, uint32_t firstRow,
                     uint32_t rowCount) {
        detail::ThrowUnlessOk(TryConvertRows(buffer, picture, stride, firstRow, rowCount));
    }
    Status TryConvertRows(std::span<const uint8_t> buffer, std::span<uint8_t> picture, size_t stride, uint32_t firstRow,
                          uint32_t rowCount) {
        if (picture.size() < PictureBytes(stride)) {
            return {VCF_INVALID_ARGUMENT, "the picture needs " + std::to_string(PictureBytes(stride)) +
                                              " bytes, there is room for " + std::to_string(picture.size())};
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
