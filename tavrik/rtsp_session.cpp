#include "tavrik/rtsp_session.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <chrono>
#include <cstring>
#include <string>
#include <utility>

#include "tavrik/gather_limit.h"

namespace tavrik {
namespace {

using std::chrono::milliseconds;

constexpr auto kOpenPatience = std::chrono::seconds(10);
constexpr auto kGoodbye = milliseconds(200);
constexpr int kLookOpeningMs = 10;
constexpr int kLookMs = 100;
constexpr int kMaxRedirects = 5;
constexpr int kMaxLinks = 32;

const char* protocolsOf(RtspTransport transport) {
    switch (transport) {
        case RtspTransport::kUdp:
            return "udp";
        case RtspTransport::kMulticast:
            return "udp-mcast";
        case RtspTransport::kHttp:
            return "tcp+http";
        case RtspTransport::kTcp:
            break;
    }
    return "tcp";
}

// User or password as it was before it was written into an address.
std::string unescaped(const std::string& text) {
    char* const plain = g_uri_unescape_string(text.c_str(), nullptr);
    const std::string out = plain != nullptr ? plain : text;
    g_free(plain);
    return out;
}

Stamp stampOf(GstSample* sample, const GstBuffer* buffer) {
    Stamp stamp;
    stamp.arrival = Clock::now();
    if (GST_BUFFER_PTS_IS_VALID(buffer)) {
        const guint64 time = gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                                         GST_BUFFER_PTS(buffer));
        if (GST_CLOCK_TIME_IS_VALID(time)) {
            stamp.pts = static_cast<std::int64_t>(gst_util_uint64_scale(time, 90000, GST_SECOND));
        }
    }
    return stamp;
}

}  // namespace

struct RtspSession::Callbacks {
    static gboolean selectStream(GstElement*, guint, GstCaps* caps, gpointer self) {
        return static_cast<RtspSession*>(self)->wanted(caps) ? TRUE : FALSE;
    }
    static void padAdded(GstElement* source, GstPad* pad, gpointer self) {
        GstObject* const parent = gst_object_get_parent(GST_OBJECT(source));
        if (parent != nullptr) {
            static_cast<RtspSession*>(self)->link(GST_ELEMENT(parent), pad);
            gst_object_unref(parent);
        }
    }
    static void newManager(GstElement*, GstElement* manager, gpointer) {
        g_object_set(manager, "do-lost", TRUE, nullptr);
    }
    static GstBusSyncReply message(GstBus*, GstMessage* message, gpointer self) {
        static_cast<RtspSession*>(self)->onMessage(message);
        gst_message_unref(message);
        return GST_BUS_DROP;
    }
    static GstFlowReturn picture(GstAppSink* sink, gpointer self) {
        return pull(sink, [self](GstSample* sample) { static_cast<RtspSession*>(self)->onPicture(sample); });
    }
    static GstFlowReturn sound(GstAppSink* sink, gpointer self) {
        return pull(sink, [self](GstSample* sample) { static_cast<RtspSession*>(self)->onSound(sample); });
    }

private:
    template <class Take>
    static GstFlowReturn pull(GstAppSink* sink, Take take) {
        GstSample* const sample = gst_app_sink_try_pull_sample(sink, 0);
        if (sample != nullptr) {
            take(sample);
            gst_sample_unref(sample);
        }
        return GST_FLOW_OK;
    }
};

RtspSession::End RtspSession::run() {
    m_pipeline = build();
    if (m_pipeline == nullptr) {
        return End::kOver;
    }
    gst_element_set_state(m_pipeline, GST_STATE_PLAYING);
    wait();
    stop();
    gst_object_unref(m_pipeline);
    gst_caps_replace(&m_audio.caps, nullptr);
    return m_end;
}

GstElement* RtspSession::build() {
    GstElement* const source = gst_element_factory_make("rtspsrc", nullptr);
    if (source == nullptr) {
        return nullptr;
    }
    configure(source);
    g_signal_connect(source, "select-stream", G_CALLBACK(Callbacks::selectStream), this);
    g_signal_connect(source, "pad-added", G_CALLBACK(Callbacks::padAdded), this);
    g_signal_connect(source, "new-manager", G_CALLBACK(Callbacks::newManager), this);
    GstElement* const pipeline = gst_pipeline_new(nullptr);
    gst_bin_add(GST_BIN(pipeline), source);
    GstBus* const bus = gst_element_get_bus(pipeline);
    gst_bus_set_sync_handler(bus, Callbacks::message, this, nullptr);
    gst_object_unref(bus);
    return pipeline;
}

void RtspSession::configure(GstElement* source) const {
    NetworkAddress plain = m_address;
    plain.authority.clear();
    if (m_transport == RtspTransport::kHttp) {
        plain.scheme = "rtsph";
    }
    const bool datagrams = m_transport == RtspTransport::kUdp || m_transport == RtspTransport::kMulticast;
    g_object_set(source, "location", networkAddressWithHost(plain, plain.host).c_str(),
                 // The pictures' own times go along, but nothing waits for them.
                 "latency", static_cast<guint>(datagrams ? m_options.reorder_ms : 0), "drop-on-latency",
                 FALSE, "do-retransmission", FALSE, "probation", 0u, "udp-reconnect", FALSE, "timeout",
                 static_cast<guint64>(0), "teardown-timeout",
                 static_cast<guint64>(std::chrono::nanoseconds(kGoodbye).count()), "udp-buffer-size",
                 m_options.buffer_bytes, nullptr);
    gst_util_set_object_arg(G_OBJECT(source), "protocols", protocolsOf(m_transport));
    // Apart from the address, so that none of GStreamer's messages can contain them.
    if (!m_address.authority.empty()) {
        const std::size_t colon = m_address.authority.find(':');
        const std::string user = unescaped(m_address.authority.substr(0, colon));
        const std::string password =
            colon != std::string::npos ? unescaped(m_address.authority.substr(colon + 1)) : std::string();
        g_object_set(source, "user-id", user.c_str(), "user-pw", password.c_str(), nullptr);
    }
    if (!m_options.user_agent.empty()) {
        g_object_set(source, "user-agent", m_options.user_agent.c_str(), nullptr);
    }
    if (m_options.port_min > 0 && m_options.port_max >= m_options.port_min) {
        const std::string range =
            std::to_string(m_options.port_min) + "-" + std::to_string(m_options.port_max);
        g_object_set(source, "port-range", range.c_str(), nullptr);
    }
}

void RtspSession::wait() {
    const auto opened = Clock::now();
    m_heard = opened.time_since_epoch().count();
    while (!m_sink.stopped() && !m_over) {
        m_sink.pause(m_playing ? kLookMs : kLookOpeningMs);
        const auto now = Clock::now();
        if (!m_playing && now - opened > kOpenPatience) {
            return;
        }
        const Clock::time_point heard{Clock::duration(m_heard)};
        if (m_options.silence_ms > 0 && now - heard > milliseconds(m_options.silence_ms)) {
            return;
        }
    }
}

void RtspSession::stop() {
    // The farewell gets its short time; then whatever the server is in the middle of ends.
    gst_element_set_state(m_pipeline, GST_STATE_READY);
    m_sockets->breakOff();
    gst_element_set_state(m_pipeline, GST_STATE_NULL);
}

void RtspSession::note(End end) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_over) {
        m_end = end;
        m_over = true;
    }
}

// The first picture and the first sound of the description, as far as they are wanted; a track that is not
// is not asked of the server.
bool RtspSession::wanted(const GstCaps* track) {
    if (isMedia(track, "video")) {
        const bool first = !std::exchange(m_videoChosen, true);
        if (first && m_options.video) {
            m_video.format = rtpVideoFormat(track);
            m_foreign = m_video.format == nullptr;
            return m_video.format != nullptr;
        }
        return false;
    }
    const RtpFormat* const sound = isMedia(track, "audio") ? rtpAudioFormat(track) : nullptr;
    if (sound == nullptr || m_audioChosen || !m_options.audio || !m_sink.wantsAudio()) {
        return false;
    }
    m_audio.format = sound;
    m_audioChosen = true;
    return true;
}

void RtspSession::link(GstElement* pipeline, GstPad* pad) {
    GstCaps* const caps = gst_pad_get_current_caps(pad);
    if (caps == nullptr) {
        return;
    }
    const bool picture = isMedia(caps, "video");
    Track& track = picture ? m_video : m_audio;
    // A sender that begins anew under another number gets elements of its own; the old ones run dry.
    const bool room = track.format != nullptr && track.links < kMaxLinks;
    if (room && track.links++ == 0 && picture) {
        track.parameters = rtpVideoParameters(*track.format, caps);
    }
    gst_caps_unref(caps);
    GstElement* const depayloader = room ? gst_element_factory_make(track.format->element, nullptr) : nullptr;
    GstElement* const sink = room ? gst_element_factory_make("appsink", nullptr) : nullptr;
    if (depayloader == nullptr || sink == nullptr) {
        if (depayloader != nullptr) {
            gst_object_unref(depayloader);
        }
        if (sink != nullptr) {
            gst_object_unref(sink);
        }
        return;
    }
    g_object_set(sink, "sync", FALSE, "async", FALSE, "enable-last-sample", FALSE, "wait-on-eos", FALSE,
                 nullptr);
    if (picture && track.format->annex_b_caps != nullptr) {
        gst_util_set_object_arg(G_OBJECT(sink), "caps", track.format->annex_b_caps);
    }
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = picture ? Callbacks::picture : Callbacks::sound;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, this, nullptr);
    limitGathering(depayloader);
    gst_bin_add_many(GST_BIN(pipeline), depayloader, sink, nullptr);
    gst_element_link(depayloader, sink);
    gst_element_sync_state_with_parent(sink);
    gst_element_sync_state_with_parent(depayloader);
    GstPad* const input = gst_element_get_static_pad(depayloader, "sink");
    gst_pad_link(pad, input);
    gst_object_unref(input);
}

void RtspSession::onMessage(GstMessage* message) {
    switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR: {
            GError* error = nullptr;
            gst_message_parse_error(message, &error, nullptr);
            // What rtspsrc says when the server has refused every track that it was asked for.
            const bool nothing =
                g_error_matches(error, GST_STREAM_ERROR, GST_STREAM_ERROR_CODEC_NOT_FOUND) != 0;
            g_error_free(error);
            const bool asked = m_video.format != nullptr || m_audio.format != nullptr;
            note(!nothing    ? End::kOver
                 : asked     ? End::kTransportRefused
                 : m_foreign ? End::kForeignPictures
                             : End::kOver);
            break;
        }
        case GST_MESSAGE_EOS:
            note(End::kOver);
            break;
        case GST_MESSAGE_PROGRESS:
            onProgress(message);
            break;
        default:
            break;
    }
}

void RtspSession::onProgress(GstMessage* message) {
    GstProgressType type{};
    gchar* code = nullptr;
    gst_message_parse_progress(message, &type, &code, nullptr);
    const bool connecting = type == GST_PROGRESS_TYPE_CONTINUE && std::strcmp(code, "connect") == 0;
    const bool playing = type == GST_PROGRESS_TYPE_COMPLETE && std::strcmp(code, "request") == 0;
    g_free(code);
    if (playing) {
        m_playing = true;
        if (m_foreign) {
            // The server plays sound alone; the pictures are for another receiver.
            note(End::kForeignPictures);
        }
    }
    if (connecting) {
        SocketWatch::follow(m_sockets);
    }
    if (connecting && m_connections++ > kMaxRedirects) {
        // rtspsrc itself would follow for ever.
        note(End::kOver);
        m_sockets->breakOff();
    }
}

void RtspSession::onPicture(GstSample* sample) {
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    GstMapInfo map;
    if (buffer == nullptr || m_video.parameters == nullptr ||
        gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) {
        return;
    }
    m_heard = Clock::now().time_since_epoch().count();
    if (m_video.format->codec == AV_CODEC_ID_MPEG2TS) {
        m_sink.onBytes(map.data, map.size);
    } else {
        VideoPiece piece{map.data, map.size, stampOf(sample, buffer)};
        // Without the marker the element has guessed the end by the beginning of the next picture. Of a codec
        // without NALs it hands out whole pictures alone, without the flag.
        piece.ends_picture = m_video.format->annex_b_caps == nullptr ||
                             GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_MARKER) != 0;
        piece.after_loss = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT) != 0;
        m_sink.onVideo(piece, m_video.parameters);
    }
    gst_buffer_unmap(buffer, &map);
}

void RtspSession::onSound(GstSample* sample) {
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    GstCaps* const caps = gst_sample_get_caps(sample);
    SharedParameters parameters;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (caps != m_audio.caps) {
            gst_caps_replace(&m_audio.caps, caps);
            m_audio.parameters = rtpAudioParameters(*m_audio.format, caps);
        }
        parameters = m_audio.parameters;
    }
    GstMapInfo map;
    if (buffer == nullptr || parameters == nullptr || gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) {
        return;
    }
    m_heard = Clock::now().time_since_epoch().count();
    m_sink.onSound({map.data, map.size, stampOf(sample, buffer), m_audio.format->whole}, parameters);
    gst_buffer_unmap(buffer, &map);
}

}  // namespace tavrik
