// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Properties as GObject hands them out: defaults, values that come back, ids that do not exist.
#include <algorithm>
#include <iterator>

#include "Support.h"

using namespace GstTest;

namespace {

std::string TextOf(const GValue* value) {
    gchar* const text = gst_value_serialize(value);
    std::string copy = text;
    g_free(text);
    return copy;
}

std::string Get(GstElement* element, const GParamSpec* pspec) {
    GValue value = G_VALUE_INIT;
    g_value_init(&value, pspec->value_type);
    g_object_get_property(G_OBJECT(element), pspec->name, &value);
    std::string text = TextOf(&value);
    g_value_unset(&value);
    return text;
}

constexpr struct {
    const char* element;
    const char* property;
    const char* preset;
    const char* other;
} kProperties[] = {
    {"vexaconvert", "bayer-mode", "bilinear", "adaptive"},
    {"vexaconvert", "white-balance", "off", "auto"},
    {"vexaconvert", "red-gain", "1", "1.5"},
    {"vexaconvert", "green-gain", "1", "0.25"},
    {"vexaconvert", "blue-gain", "1", "16"},
    {"vexaconvert", "wb-smoothing", "0.9", "0.5"},
    {"vexaconvert", "black-level", "0", "65535"},
    {"vexaconvert", "exposure", "1", "2.5"},
    {"vexaconvert", "tone", "linear", "gamma"},
    {"vexaconvert", "gamma", "2.2", "1.75"},
    {"vexaconvert", "yuv-range", "auto", "limited"},
    {"vexaconvert", "grey", "false", "true"},
    {"vexaconvert", "row-stride", "0", "4096"},
    {"vexaconvert", "shift", "0", "15"},
    {"vexaconvert", "depth", "0", "12"},
    {"vexaconvert", "n-threads", "1", "256"},
    {"vexarwhdec", "framerate", "25/1", "30000/1001"},
    {"vexarwhenc", "depth", "0", "14"},
};

/// Properties that the class adds to those of its parents.
guint OwnProperties(GstElement* element) {
    guint count = 0;
    GParamSpec** const all = g_object_class_list_properties(G_OBJECT_GET_CLASS(element), &count);
    guint own = 0;
    for (guint i = 0; i < count; ++i) {
        own += all[i]->owner_type == G_OBJECT_TYPE(element) ? 1 : 0;
    }
    g_free(static_cast<gpointer>(all));
    return own;
}

TEST(Properties, DefaultsAndValuesComeBack) {
    for (const auto& row : kProperties) {
        const Harness harness(row.element);
        GstElement* const element = harness.Element();
        GParamSpec* const pspec = g_object_class_find_property(G_OBJECT_GET_CLASS(element), row.property);
        ASSERT_NE(pspec, nullptr) << row.property;
        const std::string preset = Get(element, pspec);
        Set(element, row.property, row.preset);
        EXPECT_EQ(Get(element, pspec), preset) << row.property;
        EXPECT_EQ(TextOf(g_param_spec_get_default_value(pspec)), preset) << row.property;
        Set(element, row.property, row.other);
        const std::string other = Get(element, pspec);
        EXPECT_NE(other, preset) << row.property;
        for (const auto& neighbour : kProperties) {
            if (std::string(neighbour.element) == row.element && neighbour.property != row.property) {
                Set(element, neighbour.property, neighbour.other);
            }
        }
        EXPECT_EQ(Get(element, pspec), other) << row.property;
    }
}

TEST(Properties, TheTableIsComplete) {
    for (const char* const name : {"vexaconvert", "vexarwhdec", "vexarwhenc"}) {
        const Harness harness(name);
        const auto rows = std::count_if(std::begin(kProperties), std::end(kProperties),
                                        [&](const auto& row) { return std::string(row.element) == name; });
        EXPECT_EQ(OwnProperties(harness.Element()), static_cast<guint>(rows)) << name;
    }
}

TEST(Properties, IdsThatDoNotExistAreWarnedOf) {
    for (const char* const name : {"vexaconvert", "vexarwhdec", "vexarwhenc"}) {
        const Harness harness(name);
        GObject* const object = G_OBJECT(harness.Element());
        GParamSpec* const pspec = g_param_spec_uint("none", "none", "none", 0, 1, 0, G_PARAM_READWRITE);
        g_param_spec_ref_sink(pspec);
        GValue value = G_VALUE_INIT;
        g_value_init(&value, G_TYPE_UINT);
        g_test_expect_message(nullptr, G_LOG_LEVEL_WARNING, "*invalid property id 99*");
        G_OBJECT_GET_CLASS(object)->set_property(object, 99, &value, pspec);
        g_test_expect_message(nullptr, G_LOG_LEVEL_WARNING, "*invalid property id 99*");
        G_OBJECT_GET_CLASS(object)->get_property(object, 99, &value, pspec);
        g_test_assert_expected_messages();
        g_param_spec_unref(pspec);
    }
}

}  // namespace
