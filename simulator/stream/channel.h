// One video channel: draws, encodes and hands out pictures at a steady rate while somebody wants them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "simulator/pod/pod.h"
#include "simulator/pod/renderer.h"
#include "simulator/stream/clip_source.h"
#include "simulator/stream/encoder.h"
#include "simulator/stream/event_log.h"
#include "simulator/stream/rtsp_server.h"
#include "simulator/stream/sound.h"
#include "simulator/stream/video_output.h"
#include "simulator/wire/fault_injector.h"

namespace podsim {

struct ChannelOptions {
    EncoderSettings encoder;
    std::string ts_to;      // ADDRESS:PORT, empty: off
    std::string raw_to;     // the same
    std::string blocks_to;  // the same
    std::string block_header = "0";
    bool sound = false;
    std::string clip;  // a file whose pictures are handed out in place of the camera's
    NumberPlace number_place = NumberPlace::kLeft;
};

// What may be another one after a restart of the stream.
struct RestartSettings {
    std::optional<Codec> codec;
    int width = 0;  // 0: as before, both
    int height = 0;
};

class Channel {
public:
    // `rtsp` may be null. Everything referred to outlives the channel.
    Channel(int index, const ChannelOptions& options, std::uint64_t seed, const Pod& pod, EventLog& log);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // Opens encoder and outputs and starts the thread. False with a reason.
    bool start(RtspServer* rtsp, std::string& error);
    void stop();

    // Any thread.
    void wake();
    void setFaults(const FaultSettings& faults);
    // The stream begins anew before its next picture, as from a device that was switched off and on: viewers
    // over RTSP are hung up on, stamps begin again, codec and size as told. Pictures go on being counted. A
    // clip keeps its codec and size and begins again.
    void restart(const RestartSettings& settings);
    std::uint32_t framesSent() const { return m_frames; }

private:
    void run();
    bool wanted() const;
    void pause();
    // Until the time has come or the channel stops; sends what a delay held back.
    void waitUntil(std::int64_t due_ns);
    void adoptBitrate(int kbps);
    bool openSource(std::string& error);
    bool openOutputs(std::string& error);
    void restartIfAsked();
    bool nextPicture();
    bool encodePicture(AccessUnit& unit);
    void handOut(AccessUnit& unit);
    void handOutSound();

    int m_index;
    ChannelOptions m_options;
    std::uint64_t m_seed;
    const Pod& m_pod;
    EventLog& m_log;
    RtspServer* m_rtsp = nullptr;
    // One of the two.
    std::unique_ptr<Encoder> m_encoder;
    std::unique_ptr<ClipSource> m_clip;
    std::unique_ptr<Renderer> m_renderer;  // of the encoder
    I420Image m_image;
    std::unique_ptr<Sound> m_soundSource;
    std::vector<std::unique_ptr<VideoOutput>> m_outputs;
    std::thread m_thread;
    std::mutex m_mutex;  // guards m_stopping, m_woken, m_faults, m_restart
    std::condition_variable m_changed;
    bool m_stopping = false;
    bool m_woken = false;
    FaultSettings m_faults;
    std::optional<RestartSettings> m_restart;
    std::atomic<std::uint32_t> m_frames{0};
    bool m_forceKey = true;
    int m_bitrateKbps = 0;
};

}  // namespace podsim
