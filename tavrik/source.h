// Where the bytes or packets of a live stream come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tavrik/ffmpeg_ptr.h"
#include "tavrik/stamp.h"

namespace tavrik {

using SharedParameters = std::shared_ptr<const AVCodecParameters>;

// A run of bytes of a video stream, valid during the call.
struct VideoPiece {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    Stamp stamp;                // of the picture that the first byte belongs to
    bool ends_picture = false;  // the container says that a picture ends behind the last byte
    bool after_loss = false;    // the container knows that bytes are missing before the first, or among them
};

// A frame of sound (whole) or a run of its bytes; valid during the call.
struct SoundPiece {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    Stamp stamp;  // of the first frame that begins in it
    bool whole = true;
};

// Takes what a source delivers: pictures on one thread of the source's at a time, sound on one at a time,
// perhaps another.
class SourceSink {
public:
    virtual ~SourceSink() = default;
    virtual bool stopped() const = 0;
    // Waits up to ms milliseconds, less once stopped.
    virtual void pause(int ms) = 0;
    // Bytes of unknown form. Dropped when the decoder is far behind: a datagram cannot wait.
    virtual void onBytes(const std::uint8_t* data, std::size_t size) = 0;
    // `format` changes object when the stream's format changes. Waits for room.
    virtual void onVideo(const VideoPiece& piece, const SharedParameters& format) = 0;
    virtual bool wantsAudio() const = 0;
    // `format` as above. Does not wait: the oldest sound goes when too much waits.
    virtual void onSound(const SoundPiece& piece, const SharedParameters& format) = 0;
};

class Source {
public:
    virtual ~Source() = default;
    // The body of the source's thread; returns soon after sink.stopped() becomes true.
    virtual void run(SourceSink& sink) = 0;
    // True if bytes are known to wait that run() has not fetched yet. From any thread while run() runs.
    virtual bool bytesWaiting() const { return false; }
};

}  // namespace tavrik
