// Counts the pictures that the receiver still holds, so that one who does not release them cannot fill the
// memory.
#pragma once

#include <cstddef>
#include <memory>

struct AVFrame;

namespace tavrik {

// Any thread; the count lives on until the last picture is released.
class FramesInFlight {
public:
    static constexpr int kMaxFrames = 250;
    static constexpr int kMinFrames = 40;
    static constexpr std::size_t kMaxBytes = 512u << 20;

    FramesInFlight();

    // Marks the picture: it counts until the frame and every clone of it are gone. False without memory for
    // that.
    bool track(AVFrame* frame);
    // 250 pictures or 512 MiB, whichever comes first, but never fewer than 40 pictures.
    bool full() const;
    int count() const;

    struct Tally;

private:
    std::shared_ptr<Tally> m_tally;
};

}  // namespace tavrik
