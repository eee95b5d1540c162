#include "tavrik/gather_limit.h"

#include <gst/gst.h>

#include <memory>

namespace tavrik {
namespace {

// Of a buffer, beside its bytes: packets of a few bytes fill the memory too.
constexpr std::size_t kPacketCost = 512;

// Of one element, whose packets and output pass on one thread.
struct Gathered {
    std::size_t cost = 0;
};
using SharedGathered = std::shared_ptr<Gathered>;

std::size_t costOf(const GstPadProbeInfo* info) {
    if ((info->type & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        return gst_buffer_get_size(GST_BUFFER(info->data)) + kPacketCost;
    }
    GstBufferList* const list = GST_BUFFER_LIST(info->data);
    return gst_buffer_list_calculate_size(list) + kPacketCost * gst_buffer_list_length(list);
}

// The elements forget what they hold at a flush, or behind a gap, or both.
void forget(GstPad* pad) {
    GstEvent* const segment = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    gst_pad_send_event(pad, gst_event_new_flush_start());
    gst_pad_send_event(pad, gst_event_new_flush_stop(FALSE));
    if (segment != nullptr) {
        gst_pad_send_event(pad, segment);
    }
}

void markGap(GstPadProbeInfo* info) {
    if ((info->type & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        GstBuffer* const buffer = gst_buffer_make_writable(GST_BUFFER(info->data));
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
        info->data = buffer;
        return;
    }
    GstBufferList* const list = gst_buffer_list_make_writable(GST_BUFFER_LIST(info->data));
    info->data = list;
    if (gst_buffer_list_length(list) > 0) {
        GST_BUFFER_FLAG_SET(gst_buffer_list_get_writable(list, 0), GST_BUFFER_FLAG_DISCONT);
    }
}

GstPadProbeReturn onPackets(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
    Gathered& gathered = **static_cast<SharedGathered*>(data);
    gathered.cost += costOf(info);
    if (gathered.cost > kMostGathered) {
        gathered.cost = 0;
        forget(pad);
        markGap(info);
    }
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn onOutput(GstPad*, GstPadProbeInfo*, gpointer data) {
    (*static_cast<SharedGathered*>(data))->cost = 0;
    return GST_PAD_PROBE_OK;
}

void watch(GstElement* element, const char* name, GstPadProbeCallback callback,
           const SharedGathered& gathered) {
    GstPad* const pad = gst_element_get_static_pad(element, name);
    if (pad == nullptr) {
        return;
    }
    const auto kinds =
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
    gst_pad_add_probe(pad, kinds, callback, new SharedGathered(gathered),
                      [](gpointer data) { delete static_cast<SharedGathered*>(data); });
    gst_object_unref(pad);
}

}  // namespace

void limitGathering(GstElement* depayloader) {
    const auto gathered = std::make_shared<Gathered>();
    watch(depayloader, "sink", onPackets, gathered);
    watch(depayloader, "src", onOutput, gathered);
}

}  // namespace tavrik
