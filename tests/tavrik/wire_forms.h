// A film as the datagrams of the forms in which it may arrive.
#pragma once

#include <cstddef>
#include <vector>

#include "film.h"

namespace tavrik::test {

struct WireForm {
    enum class Muxer { kNone, kFfmpeg, kGstreamer };

    Muxer muxer = Muxer::kFfmpeg;   // kNone: raw Annex B
    bool pes_lengths = false;       // FFmpeg's muxer
    int constant_rate = 0;          // bits a second of FFmpeg's muxer, with its null packets; 0: none
    bool null_packets = false;      // more of them, inside the pictures
    bool rtp = false;               // behind RTP heads
    std::size_t packet_size = 188;  // 192: a time stamp before, 204: check bytes behind
    bool across_pictures = false;   // datagrams are filled up with the next picture's first packets
};

using Datagrams = std::vector<Bytes>;

// Element n: what is there to be sent once picture n is. Throws std::runtime_error if a muxer fails.
std::vector<Datagrams> datagramsOf(const Film& film, std::size_t count, const WireForm& form);

// The units as GStreamer's mpegtsmux writes them, at 25 a second.
Bytes muxWithGstreamer(Codec codec, const std::vector<Bytes>& units);

}  // namespace tavrik::test
