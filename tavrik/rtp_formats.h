// What may arrive by RTP: which element takes it out of the packets, and what it is to the decoders.
#pragma once

#include "tavrik/source.h"

typedef struct _GstCaps GstCaps;

namespace tavrik {

struct RtpFormat {
    const char* encoding;  // as in the session description, upper case
    const char* element;
    AVCodecID codec;                     // AV_CODEC_ID_MPEG2TS: a transport stream
    bool whole = true;                   // sound: the element hands out whole frames
    const char* annex_b_caps = nullptr;  // of pictures made of NALs: asks for whole ones in Annex B
};

// Null for an encoding that has no line. `caps`: of a track or of its RTP packets.
const RtpFormat* rtpVideoFormat(const GstCaps* caps);
const RtpFormat* rtpAudioFormat(const GstCaps* caps);
bool isMedia(const GstCaps* caps, const char* media);

// The parameter sets of the session description go into the extradata, in Annex B. Null without memory.
SharedParameters rtpVideoParameters(const RtpFormat& format, const GstCaps* rtp_caps);
// From the caps that the element gives its frames; null if they lack something.
SharedParameters rtpAudioParameters(const RtpFormat& format, const GstCaps* frame_caps);

}  // namespace tavrik
