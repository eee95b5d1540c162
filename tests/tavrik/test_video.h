// Pictures with a number in them, encoded for the tests.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tavrik/ffmpeg_ptr.h"
#include "tavrik/nal.h"

namespace tavrik::test {

using Bytes = std::vector<std::uint8_t>;

constexpr int kWidth = 320;
constexpr int kHeight = 240;

// The number (16 bits) as blocks of 16 px along the top, most significant bit first, white for 1; below them
// a row of the inverted blocks, so that a grey or black picture has no number.
void drawNumber(AVFrame* frame, int number);
// The number over a texture that moves from picture to picture, with noise of its own in each.
void drawDetail(AVFrame* frame, int number);
// The number, or -1 if the two rows contradict.
int readNumber(const AVFrame* frame);

struct EncoderSettings {
    Codec codec = Codec::kH264;
    int width = kWidth;
    int height = kHeight;
    int key_interval = 10;
    int slices = 1;
    int kbps = 0;             // 0: as the encoder likes
    bool detail = false;      // moving texture and noise, so that a picture fills many datagrams
    bool delimiters = false;  // access unit delimiters
};

class TestEncoder {
public:
    explicit TestEncoder(EncoderSettings settings);
    // One access unit in Annex B with its parameter sets before a key picture.
    Bytes encode(int number);
    const AVCodecContext* context() const { return m_context.get(); }

private:
    bool m_detail;
    CodecContextPtr m_context;
    FramePtr m_frame;
    PacketPtr m_packet;
    std::int64_t m_nextPts = 0;
};

// The units of an Annex B unit, without start codes; an independent, plain scan.
std::vector<Bytes> nalsOf(const Bytes& annex_b);
Bytes annexB(const std::vector<Bytes>& nals);
// A user-data SEI NAL of the codec, with emulation prevention, without start code.
Bytes seiNal(Codec codec, const Bytes& payload);
// The unit with the NAL before its first slice.
Bytes withSei(Codec codec, const Bytes& unit, const Bytes& sei);

// The units muxed to a transport stream by FFmpeg, at 25 a second; pes_lengths: PES packets carry their
// length. With audio: a 48 kHz stereo AAC tone beside them. bits_per_second above 0: at that constant rate,
// with null packets.
Bytes muxTransportStream(Codec codec, const std::vector<Bytes>& units, bool pes_lengths, bool audio = false,
                         int bits_per_second = 0);

}  // namespace tavrik::test
