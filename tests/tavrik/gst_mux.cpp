#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>

#include <stdexcept>

#include "wire_forms.h"

namespace tavrik::test {

Bytes muxWithGstreamer(Codec codec, const std::vector<Bytes>& units) {
    gst_init(nullptr, nullptr);
    const std::string name = codec == Codec::kH264 ? "h264" : "h265";
    const std::string text = "appsrc name=src format=time max-bytes=0 caps=video/x-" + name +
                             ",stream-format=byte-stream,alignment=au,framerate=25/1 ! " + name +
                             "parse ! mpegtsmux alignment=7 ! appsink name=sink sync=false max-buffers=0";
    GstElement* pipeline = gst_parse_launch(text.c_str(), nullptr);
    if (pipeline == nullptr) {
        throw std::runtime_error("no pipeline: " + text);
    }
    GstElement* source = gst_bin_get_by_name(GST_BIN(pipeline), "src");
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstClockTime time = 0;
    for (const Bytes& unit : units) {
        GstBuffer* buffer = gst_buffer_new_memdup(unit.data(), unit.size());
        GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = time;
        GST_BUFFER_DURATION(buffer) = GST_SECOND / 25;
        time += GST_SECOND / 25;
        gst_app_src_push_buffer(GST_APP_SRC(source), buffer);
    }
    gst_app_src_end_of_stream(GST_APP_SRC(source));
    Bytes out;
    while (GstSample* sample = gst_app_sink_pull_sample(GST_APP_SINK(sink))) {
        GstMapInfo map;
        if (gst_buffer_map(gst_sample_get_buffer(sample), &map, GST_MAP_READ)) {
            out.insert(out.end(), map.data, map.data + map.size);
            gst_buffer_unmap(gst_sample_get_buffer(sample), &map);
        }
        gst_sample_unref(sample);
    }
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(source);
    gst_object_unref(sink);
    gst_object_unref(pipeline);
    return out;
}

}  // namespace tavrik::test
