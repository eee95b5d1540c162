#include "tavrik/still_taker.h"

#include <cstdio>
#include <utility>

#include "tavrik/still_writer.h"

namespace tavrik {

void StillTaker::shown(const AVFrame* frame) {
    FramePtr latest(av_frame_clone(frame));
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return;
    }
    // The one before is released outside the lock.
    m_latest.swap(latest);
    for (Still& still : m_stills) {
        if (still.picture == nullptr && m_latest != nullptr) {
            still.picture.reset(av_frame_clone(m_latest.get()));
        }
    }
    if (!m_stills.empty()) {
        m_changed.notify_all();
    }
}

void StillTaker::take(const std::string& path) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return;
    }
    if (m_stills.size() >= kMostWaiting) {
        std::fprintf(stderr, "tavrik: still %s: too many wait, dropped\n", path.c_str());
        return;
    }
    m_stills.push_back({FramePtr(m_latest != nullptr ? av_frame_clone(m_latest.get()) : nullptr), path});
    m_changed.notify_all();
}

void StillTaker::cancel() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    while (!m_stills.empty() && m_stills.back().picture == nullptr) {
        m_stills.pop_back();
    }
}

void StillTaker::stop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_stopped = true;
    m_latest.reset();
    m_changed.notify_all();
}

void StillTaker::run() {
    for (;;) {
        Still still;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            const auto ready = [this] { return !m_stills.empty() && m_stills.front().picture != nullptr; };
            m_changed.wait(lock, [&] { return m_stopped || ready(); });
            if (!ready()) {
                for (const Still& left : m_stills) {
                    std::fprintf(stderr, "tavrik: still %s: no picture came\n", left.path.c_str());
                }
                return;
            }
            still = std::move(m_stills.front());
            m_stills.pop_front();
        }
        const std::string error = writeStill(*still.picture, still.path);
        if (!error.empty()) {
            std::fprintf(stderr, "tavrik: still %s: %s\n", still.path.c_str(), error.c_str());
        }
    }
}

}  // namespace tavrik
