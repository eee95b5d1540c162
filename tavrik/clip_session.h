// Replays a recorded file at its own pace.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "tavrik/callback_gate.h"
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

    // Opens the file; false if it is no readable video.
    bool prepare(const std::string& path);
    // Plays what has been prepared; false if the system gives no thread.
    bool start();
    std::int64_t lengthMs() const;
    void close() override;
    void hold() override;
    void resume() override;

private:
    void playLoop();
    void onFrame(AVFrame* frame);
    bool waitUntilDue(std::int64_t position_us);
    bool stopped();

    const ClipCallbacks m_callbacks;
    CallbackGate m_gate;
    WorkerGroup m_workers;
    FormatPtr m_format;
    int m_videoIndex = -1;
    VideoDecoder m_decoder;
    FramesInFlight m_inFlight;
    RateCounter m_rate;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopped = false;
    bool m_held = false;
    bool m_started = false;
    Clock::time_point m_zero;  // when position 0 was or would have been due
    Clock::time_point m_heldSince;
    std::int64_t m_firstPtsUs = 0;
    bool m_hasFirstPts = false;
};

}  // namespace tavrik
