// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What vexaconvert adds to a converter of the library, as CSV on standard output. Both read the same frame and write
// the same picture, in one thread, and take turns call by call:
//
//     converter | push | push | converter | converter | push | ...
//
// The overhead is the median of the differences within a pair, so that a slower moment meets both sides. A push through
// GStreamer's `identity`, which converts nothing, shows how much of it GStreamer itself takes.
#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <VexaCamUtl.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Filter.h"
#include "Measure.h"
#include "VexaConvert.h"

namespace {

using namespace Bench;

struct Row {
    const char* in;          ///< caps without sizes
    unsigned bitsPerPixel;   ///< of it
    const char* out;         ///< format of video/x-raw
    const char* properties;  ///< of vexaconvert
    const char* name;
    ConverterFunc function;
};

constexpr Row kRows[] = {
    {"video/x-bayer,format=rggb", 8, "BGRx", "", "ConvByrRG8ToBGRA", ConvByrRG8ToBGRA},
    {"video/x-bayer,format=rggb", 8, "BGR", "", "ConvByrRG8ToBGR", ConvByrRG8ToBGR},
    {"video/x-bayer,format=rggb", 8, "BGRx", "bayer-mode=adaptive", "ConvByrRG8ToBGRAACPI", ConvByrRG8ToBGRAACPI},
    {"video/x-bayer,format=rggb12le", 16, "BGRx", "", "ConvByrRG12ToBGRA", ConvByrRG12ToBGRA},
    {"video/x-bayer,format=rggb12le", 16, "BGR", "", "ConvByrRG12ToBGR", ConvByrRG12ToBGR},
    {"video/x-raw,format=GRAY8", 8, "BGRx", "", "ConvMono8ToBGRA", ConvMono8ToBGRA},
    {"video/x-raw,format=GRAY8", 8, "BGR", "", "ConvMono8ToBGR", ConvMono8ToBGR},
    {"video/x-raw,format=GRAY16_LE", 16, "BGRx", "depth=12", "ConvMono12ToBGRA", ConvMono12ToBGRA},
    {"video/x-raw,format=RGB", 24, "BGRx", "", "ConvRGB8PToBGRA", ConvRGB8PToBGRA},
    {"video/x-raw,format=UYVY,colorimetry=1:4:0:0", 16, "BGRx", "", "ConvYUV422PToBGRA", ConvYUV422PToBGRA},
    {"video/x-raw,format=IYU1,colorimetry=1:4:0:0", 12, "BGRx", "", "ConvYUV411PToBGRA", ConvYUV411PToBGRA},
};

/// An element between two pads, with one frame that is pushed again and again.
class Element {
  public:
    Element(const std::string& line, const std::string& in, const std::string& out, const Buffer& frame, size_t bytes)
        : m_harness(gst_harness_new_parse(line.c_str())) {
        gst_harness_set_sink_caps_str(m_harness, out.c_str());
        gst_harness_set_src_caps_str(m_harness, in.c_str());
        m_frame =
            gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, frame.Data(), bytes, 0, bytes, nullptr, nullptr);
    }
    ~Element() {
        gst_buffer_unref(m_frame);
        gst_harness_teardown(m_harness);
    }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;

    /// Pushes the frame and gives the picture back to its pool; tells where it was.
    guint8* Push() {
        GstBuffer* const picture = gst_harness_push_and_pull(m_harness, gst_buffer_ref(m_frame));
        GstMapInfo map;
        if (picture == nullptr || gst_buffer_map(picture, &map, GST_MAP_READ) == FALSE) {
            throw std::runtime_error("an element refuses its frame");
        }
        guint8* const bytes = map.data;
        gst_buffer_unmap(picture, &map);
        gst_buffer_unref(picture);
        return bytes;
    }

  private:
    GstHarness* m_harness;
    GstBuffer* m_frame;
};

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Median seconds of the first work, and of what each other one takes more than it in the same round.
std::vector<double> Compare(const std::vector<Work>& works, unsigned rounds) {
    std::vector<std::vector<double>> times(works.size());
    std::vector<double> seconds(works.size());
    for (unsigned round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < works.size(); ++i) {
            const size_t turn = (i + round) % works.size();
            seconds[turn] = SecondsFor(works[turn], 1);
        }
        for (size_t i = 0; i < works.size(); ++i) {
            times[i].push_back(i == 0 ? seconds[0] : seconds[i] - seconds[0]);
        }
    }
    std::vector<double> medians;
    for (const std::vector<double>& list : times) {
        medians.push_back(Median(list));
    }
    return medians;
}

void Measure(const Row& row, const Size& size, unsigned rounds) {
    const size_t bytes = size.Pixels() * row.bitsPerPixel / 8;
    const Buffer frame(bytes);
    FillWithSamples(frame.Data(), bytes, std::string(row.name).find("12") != std::string::npos);
    const std::string sized = ",width=" + std::to_string(size.width) + ",height=" + std::to_string(size.height);
    Element element(std::string("vexaconvert ") + row.properties, row.in + sized,
                    std::string("video/x-raw,format=") + row.out, frame, bytes);
    Element identity("identity", row.in + sized, "ANY", frame, bytes);
    guint8* const picture = element.Push();
    const Work convert = [&] { row.function(picture, frame.Data(), size.width, size.height); };
    const Work push = [&] {
        if (element.Push() != picture) {
            throw std::runtime_error("the pool gave another picture");
        }
    };
    const Work convertAndPass = [&] {
        convert();
        identity.Push();
    };
    const std::vector<double> seconds = Compare({convert, push, convertAndPass}, rounds);
    static_cast<void>(std::printf("%s,\"%s\",%s,%s,%.2f,%.2f,%.2f,%.2f\n", size.Text().c_str(), row.in, row.out,
                                  row.name, seconds[0] * 1e6, seconds[1] * 1e6, seconds[1] / seconds[0] * 100,
                                  seconds[2] * 1e6));
    static_cast<void>(std::fflush(stdout));
}

void Run(int argc, char** argv) {
    std::vector<std::string> sizes = {"1920x1080"};
    unsigned rounds = 2001;
    CLI::App app("What vexaconvert adds to the library's converters, by turns, as CSV");
    app.add_option("--size", sizes, "frame sizes, WIDTHxHEIGHT")->capture_default_str();
    app.add_option("--rounds", rounds, "turns per case")->capture_default_str();
    app.parse(argc, argv);
    gst_init(nullptr, nullptr);
    gst_element_register(nullptr, "vexaconvert", GST_RANK_NONE, VexaGst::ConvertType());
    PrepareLUT();
    std::puts("size,in,out,converter,converter_us,added_us,added_percent,identity_added_us");
    for (const Size& size : ParseSizes(sizes)) {
        for (const Row& row : kRows) {
            Measure(row, size, rounds);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-gstreamer-overhead", Run, argc, argv);
}
