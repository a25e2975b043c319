/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * Runs a pipeline as gst-launch-1.0 does, with Aravis' fake camera switched on, so that everything can be tried without
 * a camera:
 *
 *     fake_camera "aravissrc camera-name=Fake_1 ! vexaconvert ! autovideosink"
 */
#include <arv.h>
#include <gst/gst.h>

/* Waits for the end of the stream or an error. */
static gboolean run(GstElement* pipeline) {
    g_autoptr(GstBus) bus = gst_element_get_bus(pipeline);
    g_autoptr(GstMessage) message = NULL;
    g_autoptr(GError) error = NULL;
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    message = gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, GST_MESSAGE_ERROR | GST_MESSAGE_EOS);
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        gst_message_parse_error(message, &error, NULL);
        g_printerr("%s: %s\n", GST_OBJECT_NAME(GST_MESSAGE_SRC(message)), error->message);
    }
    gst_element_set_state(pipeline, GST_STATE_NULL);
    return error == NULL;
}

int main(int argc, char** argv) {
    g_autoptr(GError) error = NULL;
    g_autoptr(GstElement) pipeline = NULL;
    gst_init(&argc, &argv);
    if (argc != 2) {
        g_printerr("usage: fake_camera PIPELINE\n");
        return 2;
    }
    arv_enable_interface("Fake");
    pipeline = gst_parse_launch(argv[1], &error);
    if (error != NULL) {
        g_printerr("fake_camera: %s\n", error->message);
        return 1;
    }
    return run(pipeline) ? 0 : 1;
}
