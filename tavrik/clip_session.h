// Replays a recorded file at its own pace.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "tavrik/callback_gate.h"
#include "tavrik/clip_pace.h"
#include "tavrik/frames_in_flight.h"
#include "tavrik/rate_counter.h"
#include "tavrik/session.h"
#include "tavrik/tavrik.h"
#include "tavrik/video_decoder.h"
#include "tavrik/worker_group.h"

namespace tavrik {

struct ClipCallbacks {
    FrameCallback on_frame;
    ReplayHook on_start = nullptr;
    ReplayHook on_end = nullptr;
};

class ClipSession : public Session, public std::enable_shared_from_this<ClipSession> {
public:
    ClipSession(ClipCallbacks callbacks, DecoderKind decoder);

    // Opens the file (name in UTF-8); false if it is no readable video.
    bool prepare(const std::string& path);
    // Plays what has been prepared; false if the system gives no thread. on_done is called on the replay's
    // thread ahead of the end hook, when the file is closed.
    bool start(std::function<void()> on_done);
    // Of what has been prepared, until it starts.
    std::int64_t lengthMs() const;
    void close() override;
    void hold() override;
    void resume() override;

private:
    void playLoop();
    void onFrame(AVFrame* frame);
    bool waitUntilDue(std::int64_t position_us);

    const ClipCallbacks m_callbacks;
    CallbackGate m_gate;
    WorkerGroup m_workers;
    // Of the replay's thread alone once it has started, and released by it.
    FormatPtr m_format;
    int m_videoIndex = -1;
    VideoDecoder m_decoder;
    FramesInFlight m_inFlight;
    RateCounter m_rate;

    std::function<void()> m_onDone;

    std::mutex m_mutex;  // guards m_pace, and m_stopped where it is set
    std::condition_variable m_changed;
    std::atomic<bool> m_stopped{false};
    ClipPace m_pace;
};

}  // namespace tavrik
