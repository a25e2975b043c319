// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// vexaconvert beside GStreamer's own elements, as CSV on standard output. Elements stand between two pads of a harness
// and write into buffers of their pools; a push runs them at once. The frames layer alone, into one destination, shows
// what the element adds.
//
//     bench-gstreamer --size 1920x1080
//
// With one thread the clock is the processor time of that thread. With all cores it is the wall clock, which a busy
// machine disturbs; all take turns in short slices, so it disturbs all of them.
#include <VexaCamFrames.h>
#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Cases.h"
#include "Filter.h"
#include "Measure.h"
#include "VexaConvert.h"

namespace {

using namespace Bench;

struct Row {
    const char* in;      ///< caps without sizes
    PixelFormat code;    ///< the same for the frames layer
    uint32_t range;      ///< VCF_RANGE_...
    const char* out;     ///< format of video/x-raw
    uint32_t output;     ///< VCF_OUTPUT_...
    const char* ours;    ///< further properties of vexaconvert
    const char* theirs;  ///< what GStreamer has for it; null: nothing
};

constexpr Row kRows[] = {
    {"video/x-bayer,format=rggb", PIXEL_FORMAT_BAYER_RG8, 0, "BGRx", VCF_OUTPUT_BGRA, "", "bayer2rgb"},
    {"video/x-bayer,format=rggb", PIXEL_FORMAT_BAYER_RG8, 0, "BGR", VCF_OUTPUT_BGR, "", "bayer2rgb ! videoconvert"},
    {"video/x-bayer,format=rggb", PIXEL_FORMAT_BAYER_RG8, 0, "BGRx", VCF_OUTPUT_BGRA, "bayer-mode=adaptive",
     "bayer2rgb"},
    {"video/x-bayer,format=rggb12le", PIXEL_FORMAT_BAYER_RG12, 0, "BGRx", VCF_OUTPUT_BGRA, "", nullptr},
    {"video/x-bayer,format=rggb12p", PIXEL_FORMAT_BAYER_RG12P, 0, "BGRx", VCF_OUTPUT_BGRA, "", nullptr},
    {"video/x-raw,format=GRAY8", PIXEL_FORMAT_MONO8, 0, "BGRx", VCF_OUTPUT_BGRA, "", "videoconvert"},
    {"video/x-raw,format=GRAY16_LE", PIXEL_FORMAT_MONO16, 0, "BGRx", VCF_OUTPUT_BGRA, "", "videoconvert"},
    {"video/x-raw,format=RGB", PIXEL_FORMAT_RGB8, 0, "BGRx", VCF_OUTPUT_BGRA, "", "videoconvert"},
    {"video/x-raw,format=UYVY,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV422_8_UYVY, VCF_RANGE_FULL, "BGRx", VCF_OUTPUT_BGRA,
     "", "videoconvert"},
    {"video/x-raw,format=v308,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV8_UYV, VCF_RANGE_FULL, "BGRx", VCF_OUTPUT_BGRA, "",
     "videoconvert"},
    {"video/x-raw,format=UYVY,colorimetry=bt601", PIXEL_FORMAT_YUV422_8_UYVY, VCF_RANGE_LIMITED, "BGRx",
     VCF_OUTPUT_BGRA, "", "videoconvert"},
};

/// A launch line between two pads, and one buffer that is pushed again and again.
class Chain {
  public:
    Chain(const std::string& line, const Row& row, const Size& size, const Buffer& frame, size_t bytes)
        : m_harness(gst_harness_new_parse(line.c_str())) {
        gst_harness_set_drop_buffers(m_harness, TRUE);
        gst_harness_set_sink_caps_str(m_harness, (std::string("video/x-raw,format=") + row.out).c_str());
        gst_harness_set_src_caps_str(m_harness, (std::string(row.in) + ",width=" + std::to_string(size.width) +
                                                 ",height=" + std::to_string(size.height) + ",framerate=25/1")
                                                    .c_str());
        m_buffer =
            gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, frame.Data(), bytes, 0, bytes, nullptr, nullptr);
    }
    ~Chain() {
        gst_buffer_unref(m_buffer);
        gst_harness_teardown(m_harness);
    }
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    void Push() {
        if (gst_harness_push(m_harness, gst_buffer_ref(m_buffer)) != GST_FLOW_OK) {
            throw std::runtime_error("a pipeline refuses its frame");
        }
    }

  private:
    GstHarness* m_harness;
    GstBuffer* m_buffer;
};

struct DestroyConverter {
    void operator()(VcfConverter* converter) const { VcfDestroyConverter(converter); }
};

Work FramesLayer(const Row& row, const Size& size, const Buffer& frame, size_t bytes, uint8_t* picture) {
    VcfLayout layout;
    VcfSettings settings;
    VcfInitLayout(&layout, row.code, size.width, size.height);
    VcfInitSettings(&settings);
    layout.range = row.range;
    settings.demosaic = *row.ours != 0 ? VCF_DEMOSAIC_ADAPTIVE : VCF_DEMOSAIC_BILINEAR;
    VcfConverter* converter = nullptr;
    if (VcfCreateConverter(&converter, &layout, row.output, &settings, nullptr, 0) != VCF_OK) {
        throw std::runtime_error("the frames layer refuses a layout");
    }
    return [owner = std::shared_ptr<VcfConverter>(converter, DestroyConverter()), data = frame.Data(), bytes, picture] {
        if (VcfConvert(owner.get(), data, bytes, picture, 0, nullptr, 0) != VCF_OK) {
            throw std::runtime_error("the frames layer refuses a frame");
        }
    };
}

/// As MeasureByTurns, by the wall clock.
std::vector<double> MedianWallSeconds(const std::vector<Work>& works, unsigned slices) {
    using Clock = std::chrono::steady_clock;
    std::vector<std::vector<double>> times(works.size());
    for (unsigned slice = 0; slice < slices; ++slice) {
        for (size_t i = 0; i < works.size(); ++i) {
            works[i]();
            works[i]();
            const Clock::time_point begin = Clock::now();
            constexpr int kCalls = 4;
            for (int call = 0; call < kCalls; ++call) {
                works[i]();
            }
            times[i].push_back(std::chrono::duration<double>(Clock::now() - begin).count() / kCalls);
        }
    }
    std::vector<double> medians;
    for (std::vector<double>& list : times) {
        std::nth_element(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(list.size() / 2), list.end());
        medians.push_back(list[list.size() / 2]);
    }
    return medians;
}

std::string WithThreads(const std::string& line, bool allCores) {
    const std::string element = "videoconvert";
    const size_t at = line.find(element);
    return at == std::string::npos ? line : line + (allCores ? " n-threads=0" : " n-threads=1");
}

void Print(const Row& row, const Size& size, const char* threads, const std::string& what, double seconds,
           double ours) {
    static_cast<void>(std::printf("%s,\"%s\",%s,%s,\"%s\",%.4f,%.3f\n", size.Text().c_str(), row.in, row.out, threads,
                                  what.c_str(), seconds * 1e9 / static_cast<double>(size.Pixels()), seconds / ours));
    static_cast<void>(std::fflush(stdout));
}

void MeasureRow(const Row& row, const Size& size, bool allCores, const SlicePlan& plan) {
    VcfLayout layout;
    VcfInitLayout(&layout, row.code, size.width, size.height);
    const auto bytes = static_cast<size_t>(VcfBytesNeeded(&layout));
    const Buffer frame(bytes);
    const Buffer picture(size.Pixels() * 4);
    FillWithSamples(frame.Data(), bytes, VcfFindFormat(row.code)->bits_per_pixel == 16);
    std::string ours = std::string("vexaconvert n-threads=") + (allCores ? "0 " : "1 ") + row.ours;
    ours.erase(ours.find_last_not_of(' ') + 1);
    std::vector<std::string> names = {ours};
    std::vector<std::shared_ptr<Chain>> chains = {std::make_shared<Chain>(ours, row, size, frame, bytes)};
    if (row.theirs != nullptr) {
        names.push_back(WithThreads(row.theirs, allCores));
        chains.push_back(std::make_shared<Chain>(names.back(), row, size, frame, bytes));
    }
    std::vector<Work> works;
    for (const auto& chain : chains) {
        works.emplace_back([chain] { chain->Push(); });
    }
    if (!allCores) {
        names.emplace_back("frames layer alone");
        works.push_back(FramesLayer(row, size, frame, bytes, picture.Data()));
    }
    std::vector<double> seconds;
    if (allCores) {
        seconds = MedianWallSeconds(works, plan.slices);
    } else {
        for (const Timing& timing : MeasureByTurns(works, plan)) {
            seconds.push_back(timing.median);
        }
    }
    for (size_t i = 0; i < names.size(); ++i) {
        Print(row, size, allCores ? "all" : "1", names[i], seconds[i], seconds[0]);
    }
}

void Run(int argc, char** argv) {
    std::vector<std::string> sizes = {"1920x1080", "4096x3000"};
    SlicePlan plan = {31, 0.004, 0.006, 3};
    CLI::App app("vexaconvert beside GStreamer's own elements, measured by turns, as CSV");
    app.add_option("--size", sizes, "frame sizes, WIDTHxHEIGHT")->capture_default_str();
    app.add_option("--slices", plan.slices, "turns per case")->capture_default_str();
    app.parse(argc, argv);
    gst_init(nullptr, nullptr);
    gst_element_register(nullptr, "vexaconvert", GST_RANK_NONE, VexaGst::ConvertType());
    std::puts("size,in,out,threads,what,ns_per_pixel,time_over_ours");
    for (const Size& size : ParseSizes(sizes)) {
        for (const bool allCores : {false, true}) {
            for (const Row& row : kRows) {
                MeasureRow(row, size, allCores, plan);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-gstreamer", Run, argc, argv);
}
