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
    NumberPlace number_place = NumberPlace::Left;
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
    std::uint32_t framesSent() const { return frames_; }

private:
    void run();
    bool wanted() const;
    void pause();
    // Until the time has come or the channel stops; sends what a delay held back.
    void waitUntil(std::int64_t due_ns);
    void adoptBitrate(int kbps);
    bool nextPicture(class Renderer& renderer, struct I420Image& image);
    void handOut(AccessUnit& unit);

    int index_;
    ChannelOptions options_;
    std::uint64_t seed_;
    const Pod& pod_;
    EventLog& log_;
    RtspServer* rtsp_ = nullptr;
    std::unique_ptr<Encoder> encoder_;
    std::vector<std::unique_ptr<VideoOutput>> outputs_;
    std::thread thread_;
    std::mutex mutex_;  // guards stopping_, woken_, faults_
    std::condition_variable changed_;
    bool stopping_ = false;
    bool woken_ = false;
    FaultSettings faults_;
    std::atomic<std::uint32_t> frames_{0};
    bool force_key_ = true;
    int bitrate_kbps_ = 0;
};

}  // namespace podsim
