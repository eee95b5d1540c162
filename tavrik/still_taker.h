// Stills of one stream, encoded and written on a thread of their own.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

// Any thread; none but run() waits for the disk.
class StillTaker {
public:
    // The picture that is shown now; kept until the next.
    void shown(const AVFrame* frame);
    // The picture shown last, or the first one to come, goes to the path (UTF-8).
    void take(const std::string& path);
    // Forgets those that wait for a first picture.
    void cancel();

    // The body of the thread; returns after stop() when all that was taken is on the disk.
    void run();
    void stop();

private:
    struct Still {
        FramePtr picture;  // null: waits for one
        std::string path;
    };
    static constexpr std::size_t kMostWaiting = 16;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    FramePtr m_latest;
    std::deque<Still> m_stills;
    bool m_stopped = false;
};

}  // namespace tavrik
