// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Two hours' worth of frames (30 per second) at full speed through vexaconvert, with queues around it, properties that
// change and caps that change. Memory must stay where it was after the first hundredth, and every picture of a setting
// must have the bytes that the first one had.
//
//     gstreamer_soak [FRAMES]
#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "VexaConvert.h"

namespace {

constexpr unsigned kTwoHours = 2 * 60 * 60 * 30;
#ifdef VEXACAMUTL_SANITIZED
constexpr unsigned kFramesPerSetting = 10;
constexpr size_t kAllowedGrowth = size_t{1} << 30;  // a sanitizer keeps freed blocks for a while
#else
constexpr unsigned kFramesPerSetting = 100;
constexpr size_t kAllowedGrowth = size_t{8} << 20;
#endif

struct Setting {
    const char* caps;
    size_t bytes;
    const char* property;
    const char* value;
};

constexpr Setting kSettings[] = {
    {"video/x-bayer,format=rggb,width=1920,height=1080,framerate=30/1", size_t{1920} * 1080, "bayer-mode", "adaptive"},
    {"video/x-bayer,format=rggb,width=1920,height=1080,framerate=30/1", size_t{1920} * 1080, "bayer-mode", "bilinear"},
    {"video/x-bayer,format=bggr12p,width=1920,height=1080,framerate=30/1", size_t{2880} * 1080, "tone", "srgb"},
    {"video/x-bayer,format=bggr12p,width=1920,height=1080,framerate=30/1", size_t{2880} * 1080, "tone", "linear"},
    {"video/x-bayer,format=grbg,width=1280,height=720,framerate=30/1", size_t{1280} * 720, "n-threads", "1"},
    {"video/x-raw,format=UYVY,width=1280,height=720,framerate=30/1", size_t{2560} * 720, "n-threads", "2"},
};

size_t ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    size_t total = 0;
    size_t resident = 0;
    if (!(file >> total >> resident)) {
        std::fputs("/proc/self/statm cannot be read\n", stderr);
        std::exit(1);
    }
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

GstBuffer* RandomBuffer(size_t bytes) {
    std::mt19937 generator(1);  // NOLINT(cert-msc51-cpp): the same samples in every run
    std::vector<guint8> samples(bytes);
    for (guint8& sample : samples) {
        sample = static_cast<guint8>(generator() >> 24);
    }
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, bytes, nullptr);
    gst_buffer_fill(buffer, 0, samples.data(), bytes);
    return buffer;
}

guint32 Hash(GstBuffer* buffer) {
    GstMapInfo map;
    guint32 hash = 2166136261U;
    if (gst_buffer_map(buffer, &map, GST_MAP_READ) != FALSE) {
        for (gsize i = 0; i < map.size; ++i) {
            hash = (hash ^ map.data[i]) * 16777619U;
        }
        gst_buffer_unmap(buffer, &map);
    }
    return hash;
}

/// Pushes frames of one setting; returns the hash of the last picture, 0 if a frame is refused.
guint32 RunSetting(GstHarness* harness, GstElement* element, const Setting& setting, unsigned frames) {
    gst_util_set_object_arg(G_OBJECT(element), setting.property, setting.value);
    gst_harness_set_src_caps_str(harness, setting.caps);
    GstBuffer* const frame = RandomBuffer(setting.bytes);
    guint32 hash = 0;
    for (unsigned i = 0; i < frames; ++i) {
        GstBuffer* const picture = gst_harness_push_and_pull(harness, gst_buffer_ref(frame));
        if (picture == nullptr) {
            hash = 0;
            break;
        }
        hash = i + 1 == frames ? Hash(picture) : 0;
        gst_buffer_unref(picture);
    }
    gst_buffer_unref(frame);
    return hash;
}

}  // namespace

int main(int argc, char** argv) {
    const unsigned frames = argc > 1 ? static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10)) : kTwoHours;
    gst_init(nullptr, nullptr);
    gst_element_register(nullptr, "vexaconvert", GST_RANK_NONE, VexaGst::ConvertType());
    GstHarness* const harness = gst_harness_new_parse("queue ! vexaconvert name=it n-threads=0 ! queue");
    gst_harness_set_sink_caps_str(harness, "video/x-raw,format=BGRx");
    GstElement* const element = gst_bin_get_by_name(GST_BIN(harness->element), "it");
    std::map<size_t, guint32> wanted;
    size_t settled = 0;
    size_t most = 0;
    unsigned done = 0;
    bool good = true;
    for (size_t turn = 0; done < frames && good; ++turn) {
        const size_t index = turn % std::size(kSettings);
        const guint32 hash = RunSetting(harness, element, kSettings[index], kFramesPerSetting);
        // The first turn of all starts with other properties than later ones.
        if (turn >= std::size(kSettings)) {
            good = hash != 0 && wanted.try_emplace(index, hash).first->second == hash;
        }
        done += kFramesPerSetting;
        settled = turn < 2 * std::size(kSettings) ? ResidentBytes() : settled;
        most = std::max(most, ResidentBytes());
        good = good && most <= settled + kAllowedGrowth;
    }
    gst_object_unref(element);
    gst_harness_teardown(harness);
    static_cast<void>(std::printf("gstreamer: %u frames, %zu MiB after warming up, %zu MiB at most: %s\n", done,
                                  settled >> 20, most >> 20, good ? "constant" : "NOT CONSTANT, or wrong bytes"));
    return good ? 0 : 1;
}
