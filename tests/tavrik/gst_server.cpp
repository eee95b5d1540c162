#include "gst_server.h"

#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <stdexcept>
#include <thread>

namespace tavrik::test {
namespace {

// What one client's pipeline has been given so far.
struct Playing {
    const Film* film;
    std::size_t next = 0;
};

void onNeedData(GstAppSrc* source, guint, gpointer data) {
    auto* playing = static_cast<Playing*>(data);
    const Bytes& unit = playing->film->unit(playing->next);
    GstBuffer* buffer = gst_buffer_new_memdup(unit.data(), unit.size());
    GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = playing->next * GST_SECOND / 25;
    GST_BUFFER_DURATION(buffer) = GST_SECOND / 25;
    ++playing->next;
    gst_app_src_push_buffer(source, buffer);
}

void onConfigure(GstRTSPMediaFactory*, GstRTSPMedia* media, gpointer data) {
    GstElement* bin = gst_rtsp_media_get_element(media);
    GstElement* source = gst_bin_get_by_name_recurse_up(GST_BIN(bin), "src");
    if (source == nullptr) {
        gst_object_unref(bin);
        return;
    }
    auto* playing = new Playing{static_cast<const Film*>(data)};
    g_object_set_data_full(G_OBJECT(media), "playing", playing,
                           [](gpointer p) { delete static_cast<Playing*>(p); });
    g_signal_connect(source, "need-data", G_CALLBACK(onNeedData), playing);
    gst_object_unref(source);
    gst_object_unref(bin);
}

std::string pipelineOf(const Film& film, const GstServer::Settings& settings) {
    const std::string name = film.settings.codec == Codec::kH264 ? "h264" : "h265";
    const std::string kind = "video/x-" + name + ",stream-format=byte-stream,alignment=au";
    const std::string of_film = "appsrc name=src format=time max-bytes=0 max-buffers=4 caps=" + kind +
                                ",framerate=25/1 ! identity sync=true ! " + name + "parse ! " + kind +
                                " ! rtp" + name + "pay pt=96 config-interval=-1 name=pay";
    const std::string sound =
        "audiotestsrc is-live=true ! audio/x-raw,rate=8000,channels=1 ! mulawenc ! rtppcmupay name=pay";
    const std::string pictures = settings.pictures.empty() ? of_film : settings.pictures + " name=pay";
    return settings.sound_first ? "( " + sound + "0 " + pictures + "1 )" : "( " + pictures + "0 )";
}

}  // namespace

struct GstServer::Impl {
    Settings settings;
    GMainContext* context = nullptr;
    GMainLoop* loop = nullptr;
    GstRTSPServer* server = nullptr;
    GSource* listener = nullptr;
    int port = 0;
    std::thread thread;
};

namespace {

void askForPassword(GstRTSPServer* server, GstRTSPMediaFactory* factory,
                    const GstServer::Settings& settings) {
    GstRTSPAuth* auth = gst_rtsp_auth_new();
    GstRTSPToken* token =
        gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, "viewer", nullptr);
    gst_rtsp_auth_add_digest(auth, settings.user.c_str(), settings.password.c_str(), token);
    gst_rtsp_auth_set_supported_methods(auth, GST_RTSP_AUTH_DIGEST);
    gst_rtsp_token_unref(token);
    gst_rtsp_server_set_auth(server, auth);
    g_object_unref(auth);
    gst_rtsp_media_factory_add_role(factory, "viewer", GST_RTSP_PERM_MEDIA_FACTORY_ACCESS, G_TYPE_BOOLEAN,
                                    TRUE, GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT, G_TYPE_BOOLEAN, TRUE,
                                    nullptr);
}

GstRTSPMediaFactory* makeFactory(const Film& film, const GstServer::Settings& settings) {
    GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
    gst_rtsp_media_factory_set_launch(factory, pipelineOf(film, settings).c_str());
    gst_rtsp_media_factory_set_latency(factory, 0);
    if (settings.transports == GstServer::Transports::kUdpAlone) {
        gst_rtsp_media_factory_set_protocols(factory, GST_RTSP_LOWER_TRANS_UDP);
    }
    if (settings.transports == GstServer::Transports::kTcpAlone) {
        gst_rtsp_media_factory_set_protocols(factory, GST_RTSP_LOWER_TRANS_TCP);
    }
    g_signal_connect(factory, "media-configure", G_CALLBACK(onConfigure), const_cast<Film*>(&film));
    return factory;
}

}  // namespace

GstServer::GstServer(const Film& film, const Settings& settings) : m_impl(std::make_unique<Impl>()) {
    gst_init(nullptr, nullptr);
    Impl& d = *m_impl;
    d.settings = settings;
    d.server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(d.server, "127.0.0.1");
    gst_rtsp_server_set_service(d.server, std::to_string(settings.port).c_str());
    GstRTSPMediaFactory* factory = makeFactory(film, settings);
    if (!settings.user.empty()) {
        askForPassword(d.server, factory, settings);
    }
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(d.server);
    gst_rtsp_mount_points_add_factory(mounts, "/film", factory);
    g_object_unref(mounts);
    d.context = g_main_context_new();
    d.loop = g_main_loop_new(d.context, FALSE);
    const guint listener = gst_rtsp_server_attach(d.server, d.context);
    if (listener == 0) {
        throw std::runtime_error("the RTSP port is taken");
    }
    d.listener = g_main_context_find_source_by_id(d.context, listener);
    d.port = gst_rtsp_server_get_bound_port(d.server);
    d.thread = std::thread([&d] {
        g_main_context_push_thread_default(d.context);
        g_main_loop_run(d.loop);
        g_main_context_pop_thread_default(d.context);
    });
}

GstServer::~GstServer() {
    Impl& d = *m_impl;
    gst_rtsp_server_client_filter(
        d.server, [](GstRTSPServer*, GstRTSPClient*, gpointer) { return GST_RTSP_FILTER_REMOVE; }, nullptr);
    // On the loop's own thread: a loop that has not begun to run would miss it.
    GSource* last = g_idle_source_new();
    const auto quit = [](gpointer loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(last, quit, d.loop, nullptr);
    g_source_attach(last, d.context);
    g_source_unref(last);
    d.thread.join();
    g_source_destroy(d.listener);
    g_object_unref(d.server);
    g_main_loop_unref(d.loop);
    g_main_context_unref(d.context);
}

int GstServer::port() const { return m_impl->port; }

std::string GstServer::url(const std::string& credentials, const std::string& path) const {
    return "rtsp://" + (credentials.empty() ? "" : credentials + "@") +
           "127.0.0.1:" + std::to_string(m_impl->port) + "/" + path;
}

}  // namespace tavrik::test
