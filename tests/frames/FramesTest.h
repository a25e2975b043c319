// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The fixture of tests that run once for every table of frame kernels, and the comparison of one conversion with the
// model: source and destination between forbidden pages.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Buffers.h"
#include "Model.h"
#include "kernels/FrameKernels.h"
#include "kernels/FrameProcessor.h"

namespace VexaFrames {
inline void PrintTo(const FrameKernels* kernels, std::ostream* os) {
    *os << kernels->name;
}
}  // namespace VexaFrames

struct Destroy {
    void operator()(VcfConverter* converter) const { VcfDestroyConverter(converter); }
};
using Converter = std::unique_ptr<VcfConverter, Destroy>;

inline VcfLayout LayoutOf(PixelFormat format, uint32_t width, uint32_t height) {
    VcfLayout layout;
    VcfInitLayout(&layout, format, width, height);
    return layout;
}

/// Rows of CSI-2 begin with whole groups: without a stride, a row has to hold the pixels that are skipped as well.
inline void MakeRoomForSkip(VcfLayout& layout) {
    const uint32_t packing = VcfFindFormat(layout.format)->packing;
    if (layout.stride == 0 && (packing == VCF_PACKING_10CSI2 || packing == VCF_PACKING_12CSI2)) {
        layout.row_width = std::max(layout.row_width, static_cast<uint32_t>(layout.skip) + layout.width);
    }
}

inline VcfSettings DefaultSettings() {
    VcfSettings settings;
    VcfInitSettings(&settings);
    return settings;
}

/// How a frame is converted and where the buffers lie.
struct FrameTrial {
    uint32_t output = VCF_OUTPUT_BGRA;
    VcfSettings settings = DefaultSettings();
    size_t padding = 0;  ///< bytes after each row of the destination
    Reference::GuardSide side = Reference::GuardSide::kBack;
    std::vector<uint32_t> bands = {};  ///< rows at which a band begins; empty: one call
};

class FramesTest : public testing::TestWithParam<const VexaFrames::FrameKernels*> {
  protected:
    void SetUp() override {
        if (!VexaFrames::CanRunFrameKernels(*GetParam())) {
            GTEST_SKIP() << "this processor cannot run the " << GetParam()->name << " kernels";
        }
        m_before = VexaFrames::s_frameKernels;
        VexaFrames::s_frameKernels = GetParam();
    }
    void TearDown() override {
        if (m_before != nullptr) {
            VexaFrames::s_frameKernels = m_before;
        }
    }

    void Compare(const FramesModel::Frame& frame, const FrameTrial& trial) {
        const uint32_t height = frame.layout.height;
        const size_t length = FramesModel::Length(frame);
        uint8_t* src = m_source.Block(length, trial.side, 0xA5);
        FramesModel::Write(frame, src);
        const size_t rowBytes = size_t{frame.layout.width} * FramesModel::PixelBytes(trial.output);
        const size_t stride = rowBytes + trial.padding;
        uint8_t* dst = m_destination.Block(stride * (height - 1) + rowBytes, trial.side, kFill);
        char text[VCF_TEXT_BYTES] = "";
        VcfConverter* made = nullptr;
        ASSERT_EQ(VcfCreateConverter(&made, &frame.layout, trial.output, &trial.settings, text, sizeof text), VCF_OK)
            << FramesModel::Describe(frame.layout) << ": " << text;
        const Converter converter(made);
        std::vector<uint32_t> starts = trial.bands.empty() ? std::vector<uint32_t>{0} : trial.bands;
        for (size_t i = 0; i < starts.size(); ++i) {
            const uint32_t end = i + 1 < starts.size() ? starts[i + 1] : height;
            ASSERT_EQ(VcfConvertRows(converter.get(), src, length, dst, stride, starts[i], end - starts[i], text,
                                     sizeof text),
                      VCF_OK)
                << text;
        }
        Look(frame, trial, dst, stride);
    }

    static constexpr size_t kArenaBytes = size_t{4} << 20;
    static constexpr uint8_t kFill = 0x5A;
    Reference::GuardedArena m_source{kArenaBytes};
    Reference::GuardedArena m_destination{kArenaBytes};

  private:
    void Look(const FramesModel::Frame& frame, const FrameTrial& trial, const uint8_t* dst, size_t stride) {
        const std::vector<uint8_t> expected = FramesModel::Picture(frame, trial.output, trial.settings);
        const size_t rowBytes = expected.size() / frame.layout.height;
        EXPECT_TRUE(m_destination.MarginIsIntact());
        for (uint32_t row = 0; row < frame.layout.height; ++row) {
            for (size_t i = 0; i < rowBytes; ++i) {
                ASSERT_EQ(unsigned{dst[row * stride + i]}, unsigned{expected[row * rowBytes + i]})
                    << FramesModel::Describe(frame.layout) << " output " << trial.output << " demosaic "
                    << trial.settings.demosaic << " levels " << trial.settings.levels << " row " << row << " byte "
                    << i;
            }
            if (row + 1 < frame.layout.height) {
                ASSERT_TRUE(Reference::IsFilled(dst + row * stride + rowBytes, stride - rowBytes, kFill))
                    << "padding of row " << row;
            }
        }
    }

    const VexaFrames::FrameKernels* m_before = nullptr;
};

inline std::string FrameKernelsName(const testing::TestParamInfo<const VexaFrames::FrameKernels*>& info) {
    std::string name = info.param->name;
    for (char& letter : name) {
        letter = std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return name;
}

#define VEXA_FOR_ALL_FRAME_KERNELS(suite)                                                                             \
    INSTANTIATE_TEST_SUITE_P(                                                                                         \
        Tables, suite, testing::ValuesIn(VexaFrames::AllFrameKernels().begin(), VexaFrames::AllFrameKernels().end()), \
        FrameKernelsName)
