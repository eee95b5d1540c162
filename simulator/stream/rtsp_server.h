// Serves encoded pictures as RTSP: one shared stream a mount, fed from outside, without delay of its own.
//
// Runs a thread of its own; every operation may be called from any thread once start() has succeeded.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/stream/encoder.h"
#include "simulator/stream/sound.h"
#include "simulator/wire/fault_injector.h"

namespace podsim {

class RtspServer {
public:
    struct Mount {
        std::string path;  // "/live/track0"
        Codec codec = Codec::kH264;
        bool sound = false;  // a stream of AAC beside the pictures
    };

    // `on_demand(index)`: somebody began to watch that mount or wants a key frame. Called on other threads.
    RtspServer(std::vector<Mount> mounts, std::function<void(int)> on_demand);
    ~RtspServer();
    RtspServer(const RtspServer&) = delete;
    RtspServer& operator=(const RtspServer&) = delete;

    // `port` 0 takes any free one. False with a reason, also when the port is in use.
    bool start(const std::string& bind_address, int port, std::string& error);
    void stop();
    int port() const;

    bool watched(int index) const;
    // Of these only the rests inside pictures matter here.
    void setFaults(int index, const FaultSettings& faults);
    // Whether a key frame was wanted since the last call.
    bool takeKeyRequest(int index);
    // Drops the picture when nobody watches. When the way out is full, pictures are dropped up to the next
    // key frame, which is asked for: viewers see a pause, never a damaged picture.
    void push(int index, const AccessUnit& unit);
    // A frame's time is on the clock of monotonicNs(). Dropped when nobody watches or takes it.
    void pushSound(int index, const SoundUnit& unit);
    // Hangs up on the mount's viewers; who comes next gets pictures of `codec`.
    void restart(int index, Codec codec);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace podsim
