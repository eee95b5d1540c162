// One video channel: draws, encodes and hands out pictures at a steady rate while somebody wants them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/pod/pod.h"
#include "simulator/pod/renderer.h"
#include "simulator/stream/encoder.h"
#include "simulator/stream/event_log.h"
#include "simulator/stream/rtsp_server.h"
#include "simulator/stream/video_output.h"
#include "simulator/wire/fault_injector.h"

namespace podsim {

struct ChannelOptions {
    EncoderSettings encoder;
    std::string ts_to;   // ADDRESS:PORT, empty: off
    std::string raw_to;  // the same
    NumberPlace number_place = NumberPlace::kLeft;
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
    std::uint32_t framesSent() const { return m_frames; }

private:
    void run();
    bool wanted() const;
    void pause();
    // Until the time has come or the channel stops; sends what a delay held back.
    void waitUntil(std::int64_t due_ns);
    void adoptBitrate(int kbps);
    bool nextPicture(class Renderer& renderer, struct I420Image& image);
    void handOut(AccessUnit& unit);

    int m_index;
    ChannelOptions m_options;
    std::uint64_t m_seed;
    const Pod& m_pod;
    EventLog& m_log;
    RtspServer* m_rtsp = nullptr;
    std::unique_ptr<Encoder> m_encoder;
    std::vector<std::unique_ptr<VideoOutput>> m_outputs;
    std::thread m_thread;
    std::mutex m_mutex;  // guards m_stopping, m_woken, m_faults
    std::condition_variable m_changed;
    bool m_stopping = false;
    bool m_woken = false;
    FaultSettings m_faults;
    std::atomic<std::uint32_t> m_frames{0};
    bool m_forceKey = true;
    int m_bitrateKbps = 0;
};

}  // namespace podsim
