// Where the bytes or packets of a live stream come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

using SharedParameters = std::shared_ptr<const AVCodecParameters>;

// Takes what a source delivers; on the source's thread.
class SourceSink {
public:
    virtual ~SourceSink() = default;
    virtual bool stopped() const = 0;
    // Waits up to ms milliseconds, less once stopped.
    virtual void pause(int ms) = 0;
    // Bytes of unknown form. Dropped when the decoder is far behind: a datagram cannot wait.
    virtual void onBytes(const std::uint8_t* data, std::size_t size) = 0;
    // A packet or a fragment of one; `format` changes object when the stream's format changes. Waits for
    // room.
    virtual void onVideoPacket(const AVPacket* packet, const SharedParameters& format) = 0;
    virtual bool wantsAudio() const = 0;
    virtual void onAudioPacket(const AVPacket* packet, const AVCodecParameters* format) = 0;
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
