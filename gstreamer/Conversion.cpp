// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Conversion.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <system_error>

#include "LumaFirst.h"

namespace VexaGst {
namespace {

/// A band of fewer rows costs more in waking its thread than it saves.
constexpr unsigned kLeastRowsPerBand = 16;

/// White balance is estimated from about this many cells per side.
constexpr gint kCellsPerSide = 256;

constexpr double kLargestVcfGain = 16;

template <class T>
bool SameBytes(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

uint32_t Fixed(double value) {
    return static_cast<uint32_t>(std::lround(std::min(value, kLargestVcfGain) * VCF_ONE));
}

/// The finished BT.601 picture times this is the picture of YUV samples with another matrix:
/// RGB = from_YUV(kr, kb) * to_YUV(BT.601) * RGB'. Exact but for colours that BT.601 had to clip.
void SetYuvMatrix(GstVideoColorMatrix matrix, VcfSettings* settings) {
    double kr = 0;
    double kb = 0;
    double baseKr = 0;
    double baseKb = 0;
    if (matrix == GST_VIDEO_COLOR_MATRIX_BT601 || gst_video_color_matrix_get_Kr_Kb(matrix, &kr, &kb) == FALSE ||
        gst_video_color_matrix_get_Kr_Kb(GST_VIDEO_COLOR_MATRIX_BT601, &baseKr, &baseKb) == FALSE) {
        return;
    }
    const double luma[3] = {baseKr, 1 - baseKr - baseKb, baseKb};
    for (int column = 0; column < 3; ++column) {
        const double y = luma[column];
        const double u = ((column == 2 ? 1 : 0) - y) / (2 * (1 - baseKb));
        const double v = ((column == 0 ? 1 : 0) - y) / (2 * (1 - baseKr));
        const double red = y + 2 * (1 - kr) * v;
        const double blue = y + 2 * (1 - kb) * u;
        const double green = (y - kr * red - kb * blue) / (1 - kr - kb);
        settings->matrix[column] = static_cast<int32_t>(std::lround(red * VCF_MATRIX_ONE));
        settings->matrix[3 + column] = static_cast<int32_t>(std::lround(green * VCF_MATRIX_ONE));
        settings->matrix[6 + column] = static_cast<int32_t>(std::lround(blue * VCF_MATRIX_ONE));
    }
    settings->use_matrix = 1;
}

uint32_t DemosaicOf(const Settings& settings) {
    if (settings.grey) {
        return VCF_DEMOSAIC_NONE;
    }
    return settings.bayerMode == BayerMode::kAdaptive ? VCF_DEMOSAIC_ADAPTIVE : VCF_DEMOSAIC_BILINEAR;
}

VcfSettings Translate(const Settings& from, const Job& job, bool balanced) {
    VcfSettings to;
    VcfInitSettings(&to);
    const VcfFormat* const samples = VcfFindFormat(job.input.code);
    to.demosaic = DemosaicOf(from);
    to.black_level = from.blackLevel;
    to.exposure = Fixed(from.exposure);
    to.tone = from.tone == Tone::kGamma ? VCF_TONE_GAMMA : from.tone == Tone::kSrgb ? VCF_TONE_SRGB : VCF_TONE_LINEAR;
    to.gamma = static_cast<uint32_t>(std::lround(from.gamma * 100));
    if (balanced && from.whiteBalance == WhiteBalance::kGains) {
        to.gain[0] = Fixed(from.redGain);
        to.gain[1] = Fixed(from.greenGain);
        to.gain[2] = Fixed(from.blueGain);
    }
    // The adaptive demosaic takes 8-bit mosaics, which levels make of any depth.
    const bool reduced = to.demosaic == VCF_DEMOSAIC_ADAPTIVE && samples->kind == VCF_KIND_BAYER && samples->depth > 8;
    to.levels = balanced || reduced || from.blackLevel != 0 || to.exposure != VCF_ONE || to.tone != VCF_TONE_LINEAR;
    if (samples->kind == VCF_KIND_YUV) {
        SetYuvMatrix(job.matrix, &to);
    }
    return to;
}

unsigned BandsFor(const Settings& settings, gint height) {
    const unsigned threads = settings.threads != 0 ? settings.threads : g_get_num_processors();
    return std::max(1U, std::min(threads, static_cast<unsigned>(height) / kLeastRowsPerBand));
}

FrameSize SizeOf(const Input& input, const VcfLayout& layout) {
    return {static_cast<size_t>(VcfRowBytes(&layout)), layout.height, DefaultStride(*input.format, input.width),
            static_cast<size_t>(VcfBytesNeeded(&layout)), input.format->IsRawVideo()};
}

}  // namespace

bool Conversion::IsBalanced() const {
    const uint32_t kind = VcfFindFormat(m_job.input.code)->kind;
    return m_settings.whiteBalance != WhiteBalance::kOff && kind != VCF_KIND_MONO;
}

bool Conversion::Configure(const Job& job, const Settings& settings, std::string* error) {
    if (settings.whiteBalance != m_settings.whiteBalance || job.input.code != m_job.input.code) {
        std::fill(std::begin(m_gains), std::end(m_gains), 0);
    }
    m_job = job;
    m_settings = settings;
    VcfLayout layout;
    VcfInitLayout(&layout, job.input.code, static_cast<uint32_t>(job.input.width),
                  static_cast<uint32_t>(job.input.height));
    layout.range = job.range;
    layout.shift = settings.shift;
    char text[VCF_TEXT_BYTES] = "";
    if (VcfCheckLayout(&layout, text, sizeof text) != VCF_OK) {
        *error = text;
        return false;
    }
    m_size = SizeOf(job.input, layout);
    m_reordered.resize(job.input.format->lumaFirst ? m_size.totalBytes : 0);
    m_wanted = Translate(settings, job, IsBalanced());
    for (int i = 0; i < 3 && m_gains[i] != 0; ++i) {
        m_wanted.gain[i] = Fixed(m_gains[i]);
    }
    const unsigned bands = BandsFor(settings, job.input.height);
    layout.stride = m_layout.stride;
    if (!m_converters.empty() && SameBytes(layout, m_layout) && bands == m_bands && job.output == m_output) {
        return ChangeSettings(error);
    }
    layout.stride = 0;
    m_bands = bands;
    m_output = job.output;
    return MakeConverters(layout, error);
}

bool Conversion::MakeConverters(const VcfLayout& layout, std::string* error) {
    m_converters.clear();
    m_layout = layout;
    m_applied = m_wanted;
    char text[VCF_TEXT_BYTES] = "";
    for (unsigned i = 0; i < m_bands; ++i) {
        VcfConverter* converter = nullptr;
        if (VcfCreateConverter(&converter, &layout, m_output, &m_wanted, text, sizeof text) != VCF_OK) {
            m_converters.clear();
            *error = text;
            return false;
        }
        m_converters.emplace_back(converter);
    }
    m_errors.resize(m_bands);
    try {
        m_crew.Resize(m_bands);
    } catch (const std::system_error& failure) {
        m_converters.clear();  // so that the next frame tries again, and no band is left out
        *error = "cannot start " + std::to_string(m_bands) + " threads: " + failure.what();
        return false;
    }
    return true;
}

bool Conversion::ChangeSettings(std::string* error) {
    char text[VCF_TEXT_BYTES] = "";
    for (const Converter& converter : m_converters) {
        if (VcfChangeSettings(converter.get(), &m_wanted, text, sizeof text) != VCF_OK) {
            *error = text;
            return false;
        }
    }
    m_applied = m_wanted;
    return true;
}

/// A frame without an estimate, a black one for example, keeps the gains of those before.
bool Conversion::Balance(const guint8* bytes, size_t length, std::string* error) {
    char text[VCF_TEXT_BYTES] = "";
    VcfBalance balance;
    const gint side = std::min(m_job.input.width, m_job.input.height);
    const VcfStatus status =
        VcfEstimateBalance(&m_layout, bytes, length, m_settings.blackLevel,
                           static_cast<uint32_t>(std::max(1, side / 2 / kCellsPerSide)), &balance, text, sizeof text);
    if (status != VCF_OK && status != VCF_NO_ESTIMATE) {
        *error = text;
        return false;
    }
    for (int i = 0; status == VCF_OK && i < 3; ++i) {
        const double gain = static_cast<double>(balance.gain[i]) / VCF_ONE;
        const double kept = m_gains[i] == 0 ? 0 : m_settings.smoothing;
        m_gains[i] = kept * m_gains[i] + (1 - kept) * gain;
        m_wanted.gain[i] = Fixed(m_gains[i]);
    }
    return true;
}

VcfStatus Conversion::ConvertBand(unsigned band, const guint8* first, size_t room, size_t stride,
                                  const Destination& picture, char* text) {
    const auto height = static_cast<uint32_t>(m_job.input.height);
    const auto top = static_cast<uint32_t>(uint64_t{height} * band / m_bands);
    const auto bottom = static_cast<uint32_t>(uint64_t{height} * (band + 1) / m_bands);
    const size_t rowBytes = m_size.rowBytes;
    if (!m_reordered.empty()) {
        for (size_t row = top; row < bottom; ++row) {
            MoveLumaBehindU(first + row * (stride != 0 ? stride : rowBytes), static_cast<size_t>(m_job.input.width),
                            m_reordered.data() + row * rowBytes);
        }
        first = m_reordered.data();
        room = m_reordered.size();
    }
    return VcfConvertRows(m_converters[band].get(), first, room, picture.bytes, picture.stride, top, bottom - top, text,
                          VCF_TEXT_BYTES);
}

bool Conversion::Convert(const guint8* bytes, size_t length, const Rows& rows, const Destination& picture,
                         std::string* error) {
    const size_t stride = m_reordered.empty() ? rows.stride : 0;
    if (stride != m_layout.stride || m_converters.empty()) {
        VcfLayout layout = m_layout;
        layout.stride = stride;
        if (!MakeConverters(layout, error)) {
            return false;
        }
    }
    const guint8* const first = bytes + rows.offset;
    const size_t room = length - rows.offset;
    if (IsBalanced() && m_settings.whiteBalance == WhiteBalance::kAuto && !Balance(first, room, error)) {
        return false;
    }
    if (!SameBytes(m_wanted, m_applied) && !ChangeSettings(error)) {
        return false;
    }
    const auto band = [&](unsigned i) {
        char text[VCF_TEXT_BYTES] = "";
        m_errors[i] = ConvertBand(i, first, room, rows.stride, picture, text) == VCF_OK ? "" : text;
    };
    m_crew.Run(std::cref(band));
    for (const std::string& text : m_errors) {
        if (!text.empty()) {
            *error = text;
            return false;
        }
    }
    return true;
}

}  // namespace VexaGst
