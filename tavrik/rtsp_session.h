// One try at an RTSP server over one transport, from the connection to the farewell.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "tavrik/address.h"
#include "tavrik/callback_gate.h"
#include "tavrik/rtp_formats.h"
#include "tavrik/rtsp_options.h"
#include "tavrik/socket_watch.h"
#include "tavrik/source.h"

typedef struct _GstBus GstBus;
typedef struct _GstElement GstElement;
typedef struct _GstMessage GstMessage;
typedef struct _GstPad GstPad;
typedef struct _GstSample GstSample;
typedef struct _GstAppSink GstAppSink;

namespace tavrik {

// GStreamer's threads call into it while run() waits, and no longer once run() has returned.
class RtspSession {
public:
    enum class End {
        kOver,              // stopped, ended by the server, or failed
        kTransportRefused,  // the server has the pictures, but does not send them this way
        kForeignPictures,   // of an encoding that is not known here
    };

    RtspSession(SourceSink& sink, const NetworkAddress& address, const RtspOptions& options,
                RtspTransport transport)
        : m_sink(sink), m_address(address), m_options(options), m_transport(transport) {}
    RtspSession(const RtspSession&) = delete;
    RtspSession& operator=(const RtspSession&) = delete;

    // gstreamerReady() must be true. Returns soon after sink.stopped() becomes true, whatever the server
    // does.
    End run();

private:
    // A track that is played; set before its first sample.
    struct Track {
        const RtpFormat* format = nullptr;
        SharedParameters parameters;
        GstCaps* caps = nullptr;  // those that `parameters` were made from; sound
        int links = 0;
    };
    struct Callbacks;  // the entries for GStreamer

    GstElement* build();
    void configure(GstElement* source) const;
    void wait();
    void stop();
    bool wanted(const GstCaps* track);
    void link(GstElement* pipeline, GstPad* pad);
    void onMessage(GstMessage* message);
    void onProgress(GstMessage* message);
    void onPicture(GstSample* sample);
    void onSound(GstSample* sample);
    void note(End end);

    SourceSink& m_sink;
    const NetworkAddress& m_address;
    const RtspOptions& m_options;
    const RtspTransport m_transport;

    GstElement* m_pipeline = nullptr;
    const std::shared_ptr<SocketWatch> m_sockets = std::make_shared<SocketWatch>();
    Track m_video, m_audio;
    bool m_videoChosen = false, m_audioChosen = false;  // of the thread that opens the session
    bool m_foreign = false;
    int m_connections = 0;

    std::mutex m_mutex;
    std::atomic<bool> m_over{false};
    std::atomic<bool> m_playing{false};
    std::atomic<End> m_end{End::kOver};
    std::atomic<Clock::rep> m_heard{0};  // when the last packet came
};

}  // namespace tavrik
