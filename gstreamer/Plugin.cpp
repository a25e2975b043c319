// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What GStreamer finds in libgstvexacamutl.so.
#include <gst/gst.h>

#include "RwhElements.h"
#include "VexaConvert.h"

#define PACKAGE "vexacamutl"

namespace {

gboolean Load(GstPlugin* plugin) {
    return gst_element_register(plugin, "vexaconvert", GST_RANK_NONE, VexaGst::ConvertType()) &&
           gst_element_register(plugin, "vexarwhdec", GST_RANK_PRIMARY, VexaGst::RwhDecoderType()) &&
           gst_element_register(plugin, "vexarwhenc", GST_RANK_NONE, VexaGst::RwhEncoderType()) &&
           VexaGst::RegisterRwhTypeFinder(plugin);
}

}  // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, vexacamutl, "Raw camera frames: conversion and RWH files", Load,
                  VEXACAMUTL_VERSION, "MIT/X11", "vexacamutl", VEXACAMUTL_ORIGIN)
