#include "tavrik/frames_in_flight.h"

#include <atomic>
#include <cstdint>
#include <new>

#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

struct FramesInFlight::Tally {
    std::atomic<int> frames{0};
    std::atomic<std::size_t> bytes{0};
};

namespace {

struct Mark {
    std::shared_ptr<FramesInFlight::Tally> tally;
    std::size_t bytes;
};

void release(void* opaque, std::uint8_t*) {
    const std::unique_ptr<Mark> mark(static_cast<Mark*>(opaque));
    mark->tally->bytes -= mark->bytes;
    --mark->tally->frames;
}

std::size_t bytesOf(const AVFrame* frame) {
    std::size_t bytes = 0;
    for (const AVBufferRef* buffer : frame->buf) {
        if (buffer != nullptr) {
            bytes += buffer->size;
        }
    }
    return bytes;
}

}  // namespace

FramesInFlight::FramesInFlight() : m_tally(std::make_shared<Tally>()) {}

// av_frame_clone takes a reference on opaque_ref along, so its free function runs with the last clone.
bool FramesInFlight::track(AVFrame* frame) {
    std::unique_ptr<Mark> mark(new (std::nothrow) Mark{m_tally, bytesOf(frame)});
    if (mark == nullptr) {
        return false;
    }
    // FFmpeg wants bytes to own; the mark itself serves as them and is never read as such.
    AVBufferRef* reference =
        av_buffer_create(reinterpret_cast<std::uint8_t*>(mark.get()), sizeof(Mark), release, mark.get(), 0);
    if (reference == nullptr) {
        return false;
    }
    m_tally->bytes += mark->bytes;
    ++m_tally->frames;
    (void)mark.release();
    av_buffer_unref(&frame->opaque_ref);
    frame->opaque_ref = reference;
    return true;
}

bool FramesInFlight::full() const {
    const int frames = m_tally->frames;
    return frames >= kMaxFrames || (frames >= kMinFrames && m_tally->bytes >= kMaxBytes);
}

int FramesInFlight::count() const { return m_tally->frames; }

}  // namespace tavrik
