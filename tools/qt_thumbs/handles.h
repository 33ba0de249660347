#pragma once

#include <gst/gst.h>

#include <memory>

// GStreamer's and GLib's reference-counted things as owners.
namespace qv
{

struct Release {
    void operator()(GstElement *thing) const { gst_object_unref(thing); }
    void operator()(GstPad *thing) const { gst_object_unref(thing); }
    void operator()(GstBus *thing) const { gst_object_unref(thing); }
    void operator()(GstCaps *thing) const { gst_caps_unref(thing); }
    void operator()(GstSample *thing) const { gst_sample_unref(thing); }
    void operator()(GstBuffer *thing) const { gst_buffer_unref(thing); }
    void operator()(GstEvent *thing) const { gst_event_unref(thing); }
    void operator()(GstMessage *thing) const { gst_message_unref(thing); }
    void operator()(GError *thing) const { g_error_free(thing); }
    void operator()(gchar *thing) const { g_free(thing); }
};
struct ReleaseFeatures {
    void operator()(GList *features) const { gst_plugin_feature_list_free(features); }
};

using ElementPtr = std::unique_ptr<GstElement, Release>;
using PadPtr = std::unique_ptr<GstPad, Release>;
using BusPtr = std::unique_ptr<GstBus, Release>;
using CapsPtr = std::unique_ptr<GstCaps, Release>;
using SamplePtr = std::unique_ptr<GstSample, Release>;
using BufferPtr = std::unique_ptr<GstBuffer, Release>;
using EventPtr = std::unique_ptr<GstEvent, Release>;
using MessagePtr = std::unique_ptr<GstMessage, Release>;
using FeaturesPtr = std::unique_ptr<GList, ReleaseFeatures>;
using TextPtr = std::unique_ptr<gchar, Release>;
using ErrorPtr = std::unique_ptr<GError, Release>;

} // namespace qv
