#include "simulator/stream/rtsp_server.h"

#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

#include "simulator/stream/clock.h"

namespace podsim {
namespace {

// Pictures that may wait between encoder and network, and how many more for a rest of the line.
constexpr std::uint64_t kQueuedPictures = 8;
constexpr int kMsAPicture = 16;
constexpr std::uint64_t kQueuedSounds = 50;

// Sound tells its own times: frames that come at once sound one after the other.
const char* const kSoundPipeline =
    " appsrc name=sound is-live=true format=time block=false max-buffers=0 max-bytes=0 "
    "caps=audio/mpeg,mpegversion=4,stream-format=adts,framed=true,rate=48000,channels=2 ! aacparse ! "
    "rtpmp4gpay name=pay1 pt=97";

std::string pipelineOf(const RtspServer::Mount& mount) {
    const std::string name = mount.codec == Codec::kH264 ? "h264" : "h265";
    // A live source that stamps what comes and has no bound of its own (push() has one), parameter sets with
    // every key frame; units are not gathered, since gathering waits for the next one.
    return "( appsrc name=src is-live=true do-timestamp=true format=time block=false max-buffers=0 "
           "max-bytes=0 "
           "caps=video/x-" +
           name + ",stream-format=byte-stream,alignment=au ! " + name + "parse ! rtp" + name +
           "pay name=pay0 pt=96 config-interval=-1 aggregate-mode=none" +
           (mount.sound ? kSoundPipeline : "") + " )";
}

// One mount with the source of the pipeline that serves it now.
struct Stream {
    RtspServer::Mount mount;
    int index = 0;
    const std::function<void(int)>* on_demand = nullptr;
    std::mutex mutex;
    GstElement* source = nullptr;   // owned; null while nobody watches
    GstElement* sound = nullptr;    // the same, of the sound; null where there is none
    GstRTSPMedia* media = nullptr;  // the pipeline it belongs to, not owned
    std::atomic<bool> key_wanted{false};
    bool gap = false;  // pictures were dropped since the last key frame; the pushing thread's own
    std::mutex fault_mutex;
    FaultSettings faults;
    PicturePause pause;

    void setSources(GstElement* source_now, GstElement* sound_now, GstRTSPMedia* media_now) {
        GstElement* old[] = {source_now, sound_now};
        {
            const std::lock_guard<std::mutex> lock(mutex);
            std::swap(source, old[0]);
            std::swap(sound, old[1]);
            media = media_now;
        }
        for (GstElement* each : old) {
            if (each) {
                gst_object_unref(each);
            }
        }
    }

    // A reference to one of the two, or null.
    GstElement* take(GstElement* Stream::*which) {
        const std::lock_guard<std::mutex> lock(mutex);
        return this->*which ? GST_ELEMENT(gst_object_ref(this->*which)) : nullptr;
    }

    void wantKey() {
        key_wanted = true;
        if (*on_demand) {
            (*on_demand)(index);
        }
    }
};

void onUnprepared(GstRTSPMedia* media, gpointer data) {
    auto* stream = static_cast<Stream*>(data);
    bool current = false;
    {
        const std::lock_guard<std::mutex> lock(stream->mutex);
        current = stream->media == media;
    }
    // A new pipeline may have taken over before the old one is gone.
    if (current) {
        stream->setSources(nullptr, nullptr, nullptr);
    }
}

bool rests(Stream* stream) {
    const std::lock_guard<std::mutex> lock(stream->fault_mutex);
    return stream->faults.pause_ms > 0;
}

int restBehind(Stream* stream, GstBuffer* packet) {
    std::uint8_t marker = 0;
    gst_buffer_extract(packet, 1, &marker, 1);
    const std::lock_guard<std::mutex> lock(stream->fault_mutex);
    return stream->pause.restBehind(gst_buffer_get_size(packet), (marker & 0x80) != 0, stream->faults);
}

// Packets of a picture come in lists; one in which the line rests is passed on in two parts.
GstPadProbeReturn onPackets(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
    static thread_local bool passing = false;
    auto* stream = static_cast<Stream*>(data);
    if (passing || !rests(stream)) {
        return GST_PAD_PROBE_OK;
    }
    GstBufferList* list = (info->type & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0
                              ? gst_buffer_list_ref(GST_PAD_PROBE_INFO_BUFFER_LIST(info))
                              : gst_buffer_list_new();
    if ((info->type & GST_PAD_PROBE_TYPE_BUFFER_LIST) == 0) {
        gst_buffer_list_add(list, gst_buffer_ref(GST_PAD_PROBE_INFO_BUFFER(info)));
    }
    GstBufferList* part = gst_buffer_list_new();
    passing = true;
    GstFlowReturn flow = GST_FLOW_OK;
    for (guint i = 0; i < gst_buffer_list_length(list) && flow == GST_FLOW_OK; ++i) {
        GstBuffer* packet = gst_buffer_list_get(list, i);
        gst_buffer_list_add(part, gst_buffer_ref(packet));
        if (const int rest_ms = restBehind(stream, packet)) {
            flow = gst_pad_push_list(pad, part);
            part = gst_buffer_list_new();
            std::this_thread::sleep_for(std::chrono::milliseconds(rest_ms));
        }
    }
    if (flow == GST_FLOW_OK) {
        flow = gst_pad_push_list(pad, part);
    } else {
        gst_buffer_list_unref(part);
    }
    passing = false;
    gst_buffer_list_unref(list);
    GST_PAD_PROBE_INFO_FLOW_RETURN(info) = flow;
    return GST_PAD_PROBE_DROP;
}

void watchPackets(GstElement* bin, Stream* stream) {
    GstElement* payloader = gst_bin_get_by_name_recurse_up(GST_BIN(bin), "pay0");
    GstPad* pad = gst_element_get_static_pad(payloader, "src");
    const auto kinds =
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
    gst_pad_add_probe(pad, kinds, onPackets, stream, nullptr);
    gst_object_unref(pad);
    gst_object_unref(payloader);
}

void onConfigure(GstRTSPMediaFactory*, GstRTSPMedia* media, gpointer data) {
    auto* stream = static_cast<Stream*>(data);
    GstElement* bin = gst_rtsp_media_get_element(media);
    GstElement* source = gst_bin_get_by_name_recurse_up(GST_BIN(bin), "src");
    GstElement* sound = gst_bin_get_by_name_recurse_up(GST_BIN(bin), "sound");
    watchPackets(bin, stream);
    gst_object_unref(bin);
    gst_rtsp_media_set_latency(media, 0);
    stream->setSources(source, sound, media);
    g_signal_connect(media, "unprepared", G_CALLBACK(onUnprepared), stream);
    stream->wantKey();
}

using Streams = std::vector<std::unique_ptr<Stream>>;

void onPlay(GstRTSPClient*, GstRTSPContext*, gpointer data) {
    for (auto& stream : *static_cast<Streams*>(data)) {
        stream->wantKey();
    }
}

void onClient(GstRTSPServer*, GstRTSPClient* client, gpointer data) {
    g_signal_connect(client, "play-request", G_CALLBACK(onPlay), data);
}

GstRTSPFilterResult dropClient(GstRTSPServer*, GstRTSPClient*, gpointer) { return GST_RTSP_FILTER_REMOVE; }

// The search for those who watch a pipeline.
struct Watching {
    GstRTSPMedia* media = nullptr;
    bool found = false;
};

GstRTSPFilterResult noteMedia(GstRTSPSession*, GstRTSPSessionMedia* media, gpointer data) {
    auto* watching = static_cast<Watching*>(data);
    watching->found = watching->found || gst_rtsp_session_media_get_media(media) == watching->media;
    return GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult noteSession(GstRTSPClient*, GstRTSPSession* session, gpointer data) {
    gst_rtsp_session_filter(session, noteMedia, data);
    return GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult dropIfWatching(GstRTSPServer*, GstRTSPClient* client, gpointer data) {
    Watching watching{static_cast<GstRTSPMedia*>(data)};
    gst_rtsp_client_session_filter(client, noteSession, &watching);
    return watching.found ? GST_RTSP_FILTER_REMOVE : GST_RTSP_FILTER_KEEP;
}

int portOf(GSocket* socket) {
    GSocketAddress* address = g_socket_get_local_address(socket, nullptr);
    if (!address) {
        return 0;
    }
    const int port = G_IS_INET_SOCKET_ADDRESS(address)
                         ? g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(address))
                         : 0;
    g_object_unref(address);
    return port;
}

gboolean cleanSessions(gpointer data) {
    gst_rtsp_session_pool_cleanup(GST_RTSP_SESSION_POOL(data));
    return TRUE;
}

}  // namespace

struct RtspServer::Impl {
    Streams streams;
    std::function<void(int)> on_demand;
    GMainContext* context = nullptr;
    GMainLoop* loop = nullptr;
    GstRTSPServer* server = nullptr;
    GSource* listener = nullptr;
    GSource* cleaner = nullptr;
    int bound_port = 0;
    std::thread thread;
    std::vector<GstRTSPMediaFactory*> factories;  // of the mounts, theirs
};

RtspServer::RtspServer(std::vector<Mount> mounts, std::function<void(int)> on_demand)
    : m_impl(std::make_unique<Impl>()) {
    m_impl->on_demand = std::move(on_demand);
    for (auto& mount : mounts) {
        auto stream = std::make_unique<Stream>();
        stream->mount = std::move(mount);
        stream->index = static_cast<int>(m_impl->streams.size());
        stream->on_demand = &m_impl->on_demand;
        m_impl->streams.push_back(std::move(stream));
    }
}

RtspServer::~RtspServer() { stop(); }

bool RtspServer::start(const std::string& bind_address, int port, std::string& error) {
    GError* failure = nullptr;
    if (!gst_init_check(nullptr, nullptr, &failure)) {
        error = failure ? failure->message : "the media framework does not start";
        g_clear_error(&failure);
        return false;
    }
    Impl& d = *m_impl;
    d.server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(d.server, bind_address.c_str());
    gst_rtsp_server_set_service(d.server, std::to_string(port).c_str());
    g_signal_connect(d.server, "client-connected", G_CALLBACK(onClient), &d.streams);
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(d.server);
    for (auto& stream : d.streams) {
        GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
        gst_rtsp_media_factory_set_launch(factory, pipelineOf(stream->mount).c_str());
        gst_rtsp_media_factory_set_shared(factory, TRUE);
        gst_rtsp_media_factory_set_latency(factory, 0);
        g_signal_connect(factory, "media-configure", G_CALLBACK(onConfigure), stream.get());
        gst_rtsp_mount_points_add_factory(mounts, stream->mount.path.c_str(), factory);
        d.factories.push_back(factory);
    }
    g_object_unref(mounts);

    GSocket* socket = gst_rtsp_server_create_socket(d.server, nullptr, &failure);
    if (!socket) {
        error = "rtsp port " + bind_address + ":" + std::to_string(port) + ": " +
                (failure ? failure->message : "cannot be opened");
        g_clear_error(&failure);
        g_object_unref(d.server);
        d.server = nullptr;
        return false;
    }
    d.bound_port = portOf(socket);
    // What the server's own attach operation does, save that it tells neither the reason of a failure nor,
    // with a free port, which one it took.
    d.listener = g_socket_create_source(
        socket, static_cast<GIOCondition>(G_IO_IN | G_IO_ERR | G_IO_HUP | G_IO_NVAL), nullptr);
    g_object_unref(socket);
    d.context = g_main_context_new();
    d.loop = g_main_loop_new(d.context, FALSE);
    g_source_set_callback(d.listener, G_SOURCE_FUNC(gst_rtsp_server_io_func), d.server, nullptr);
    g_source_attach(d.listener, d.context);
    d.cleaner = g_timeout_source_new_seconds(2);
    GstRTSPSessionPool* pool = gst_rtsp_server_get_session_pool(d.server);
    g_source_set_callback(d.cleaner, cleanSessions, pool, g_object_unref);
    g_source_attach(d.cleaner, d.context);
    d.thread = std::thread([&d] {
        g_main_context_push_thread_default(d.context);
        g_main_loop_run(d.loop);
        g_main_context_pop_thread_default(d.context);
    });
    return true;
}

void RtspServer::stop() {
    Impl& d = *m_impl;
    if (!d.server) {
        return;
    }
    gst_rtsp_server_client_filter(d.server, dropClient, nullptr);
    g_main_loop_quit(d.loop);
    d.thread.join();
    for (GSource* source : {d.listener, d.cleaner}) {
        g_source_destroy(source);
        g_source_unref(source);
    }
    g_object_unref(d.server);
    d.server = nullptr;
    for (auto& stream : d.streams) {
        stream->setSources(nullptr, nullptr, nullptr);
    }
    g_main_loop_unref(d.loop);
    g_main_context_unref(d.context);
}

int RtspServer::port() const { return m_impl->bound_port; }

bool RtspServer::watched(int index) const {
    Stream& stream = *m_impl->streams[static_cast<std::size_t>(index)];
    const std::lock_guard<std::mutex> lock(stream.mutex);
    return stream.source != nullptr;
}

void RtspServer::setFaults(int index, const FaultSettings& faults) {
    Stream& stream = *m_impl->streams[static_cast<std::size_t>(index)];
    const std::lock_guard<std::mutex> lock(stream.fault_mutex);
    stream.faults = faults;
}

bool RtspServer::takeKeyRequest(int index) {
    return m_impl->streams[static_cast<std::size_t>(index)]->key_wanted.exchange(false);
}

void RtspServer::push(int index, const AccessUnit& unit) {
    Stream& stream = *m_impl->streams[static_cast<std::size_t>(index)];
    GstElement* source = stream.take(&Stream::source);
    if (!source) {
        return;
    }
    GstAppSrc* app = GST_APP_SRC(source);
    std::uint64_t room = kQueuedPictures;
    {
        const std::lock_guard<std::mutex> lock(stream.fault_mutex);
        room += static_cast<std::uint64_t>(stream.faults.pause_ms / kMsAPicture);
    }
    if (gst_app_src_get_current_level_buffers(app) >= room) {
        stream.gap = true;
    }
    if (stream.gap && gst_app_src_get_current_level_buffers(app) == 0 && unit.key_frame) {
        stream.gap = false;
    }
    if (stream.gap) {
        stream.key_wanted = true;
    } else {
        // The buffer is taken over.
        gst_app_src_push_buffer(app, gst_buffer_new_memdup(unit.bytes.data(), unit.bytes.size()));
    }
    gst_object_unref(source);
}

void RtspServer::pushSound(int index, const SoundUnit& unit) {
    GstElement* sound = m_impl->streams[static_cast<std::size_t>(index)]->take(&Stream::sound);
    if (!sound) {
        return;
    }
    GstAppSrc* app = GST_APP_SRC(sound);
    GstClock* clock = gst_element_get_clock(sound);
    // Without a clock the pipeline does not run yet; a viewer may not want sound.
    if (clock && gst_app_src_get_current_level_buffers(app) < kQueuedSounds) {
        GstBuffer* buffer = gst_buffer_new_memdup(unit.bytes.data(), unit.bytes.size());
        const auto now =
            static_cast<std::int64_t>(gst_clock_get_time(clock) - gst_element_get_base_time(sound));
        const std::int64_t at = now + unit.time_ns - monotonicNs();
        GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(std::max<std::int64_t>(at, 0));
        gst_app_src_push_buffer(app, buffer);
    }
    if (clock) {
        gst_object_unref(clock);
    }
    gst_object_unref(sound);
}

void RtspServer::restart(int index, Codec codec) {
    Impl& d = *m_impl;
    Stream& stream = *d.streams[static_cast<std::size_t>(index)];
    GstRTSPMedia* media = nullptr;
    {
        const std::lock_guard<std::mutex> lock(stream.mutex);
        stream.mount.codec = codec;
        media = stream.media ? GST_RTSP_MEDIA(g_object_ref(stream.media)) : nullptr;
    }
    gst_rtsp_media_factory_set_launch(d.factories[static_cast<std::size_t>(index)],
                                      pipelineOf(stream.mount).c_str());
    if (media) {
        stream.setSources(nullptr, nullptr, nullptr);
        gst_rtsp_server_client_filter(d.server, dropIfWatching, media);
        g_object_unref(media);
    }
}

}  // namespace podsim
