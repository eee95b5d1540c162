// Decodes pictures one by one, in software or on a device, falling back to software.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tavrik/decoder_list.h"
#include "tavrik/ffmpeg_ptr.h"

namespace tavrik {

using Options = std::vector<std::pair<std::string, std::string>>;

// One thread at a time.
class VideoDecoder {
public:
    // A picture in system memory, valid during the call; the callee may set its opaque_ref.
    using Sink = std::function<void(AVFrame*)>;

    VideoDecoder(DecoderKind kind, Options options, Sink sink);

    // parameters may be null: then the stream's own parameter sets tell everything. low_delay: pictures leave
    // at once, in the order in which they were sent. False if the codec has no decoder.
    bool open(AVCodecID codec, const AVCodecParameters* parameters, bool low_delay);
    void close() { context_.reset(); }
    bool isOpen() const { return context_ != nullptr; }
    AVCodecID codec() const { return codec_; }

    // One whole picture (bytes are copied).
    void decode(const std::uint8_t* data, std::size_t size, std::int64_t pts);
    void decode(const AVPacket* packet);
    // Hands out what the decoder still holds; then only flush() or open() may follow.
    void drain();
    // Forgets everything before the next key picture.
    void flush();

private:
    CodecContextPtr openContext(DecoderKind kind);
    void receiveAll();
    void deliver(AVFrame* frame);
    void noteResult(bool failed);

    DecoderKind kind_;
    Options options_;
    Sink sink_;
    AVCodecID codec_ = AV_CODEC_ID_NONE;
    bool low_delay_ = true;
    ParametersPtr parameters_;
    CodecContextPtr context_;
    DecoderKind open_kind_ = DecoderKind::Software;
    FramePtr frame_;
    FramePtr downloaded_;
    PacketPtr packet_;
    int failures_ = 0;  // in a row, without a picture
};

}  // namespace tavrik
