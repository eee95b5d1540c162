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

    const ClipCallbacks callbacks_;
    CallbackGate gate_;
    WorkerGroup workers_;
    FormatPtr format_;
    int video_index_ = -1;
    VideoDecoder decoder_;
    FramesInFlight in_flight_;
    RateCounter rate_;

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopped_ = false;
    bool held_ = false;
    bool started_ = false;
    Clock::time_point zero_;  // when position 0 was or would have been due
    Clock::time_point held_since_;
    std::int64_t first_pts_us_ = 0;
    bool has_first_pts_ = false;
};

}  // namespace tavrik
