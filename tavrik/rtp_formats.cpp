#include "tavrik/rtp_formats.h"

#include <gst/gst.h>

extern "C" {
#include <libavutil/base64.h>
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

namespace tavrik {
namespace {

constexpr std::size_t kMaxSetsBytes = 64u << 10;

constexpr RtpFormat kVideo[] = {
    {"H264", "rtph264depay", AV_CODEC_ID_H264, true, "video/x-h264,stream-format=byte-stream,alignment=au"},
    {"H265", "rtph265depay", AV_CODEC_ID_HEVC, true, "video/x-h265,stream-format=byte-stream,alignment=au"},
    {"JPEG", "rtpjpegdepay", AV_CODEC_ID_MJPEG, true, nullptr},
    {"MP2T", "rtpmp2tdepay", AV_CODEC_ID_MPEG2TS, true, nullptr},
};

constexpr RtpFormat kAudio[] = {
    {"PCMU", "rtppcmudepay", AV_CODEC_ID_PCM_MULAW, true, nullptr},
    {"PCMA", "rtppcmadepay", AV_CODEC_ID_PCM_ALAW, true, nullptr},
    {"MPA", "rtpmpadepay", AV_CODEC_ID_MP3, false, nullptr},
    {"MPEG4-GENERIC", "rtpmp4gdepay", AV_CODEC_ID_AAC, true, nullptr},
    {"MP4A-LATM", "rtpmp4adepay", AV_CODEC_ID_AAC, true, nullptr},
    {"AC3", "rtpac3depay", AV_CODEC_ID_AC3, false, nullptr},
    {"L16", "rtpL16depay", AV_CODEC_ID_PCM_S16BE, true, nullptr},
    {"OPUS", "rtpopusdepay", AV_CODEC_ID_OPUS, true, nullptr},
    {"G722", "rtpg722depay", AV_CODEC_ID_ADPCM_G722, true, nullptr},
};

const char* text(const GstCaps* caps, const char* field) {
    const GstStructure* const structure =
        caps != nullptr && gst_caps_get_size(caps) > 0 ? gst_caps_get_structure(caps, 0) : nullptr;
    return structure != nullptr ? gst_structure_get_string(structure, field) : nullptr;
}

// RFC 3551 tables 4 and 5: numbers that stand for an encoding without a line that says so.
const char* encodingOfNumber(int payload) {
    switch (payload) {
        case 0:
            return "PCMU";
        case 8:
            return "PCMA";
        case 9:
            return "G722";
        case 10:
        case 11:
            return "L16";
        case 14:
            return "MPA";
        case 26:
            return "JPEG";
        case 33:
            return "MP2T";
        default:
            return "";
    }
}

template <std::size_t count>
const RtpFormat* find(const RtpFormat (&table)[count], const GstCaps* caps) {
    if (caps == nullptr || gst_caps_get_size(caps) == 0) {
        return nullptr;
    }
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    const char* const told = gst_structure_get_string(structure, "encoding-name");
    int payload = -1;
    gst_structure_get_int(structure, "payload", &payload);
    std::string name = told != nullptr ? told : encodingOfNumber(payload);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [&](const RtpFormat& f) { return name == f.encoding; });
    return found != std::end(table) ? found : nullptr;
}

std::shared_ptr<AVCodecParameters> newParameters(AVMediaType type, AVCodecID codec) {
    std::shared_ptr<AVCodecParameters> out(avcodec_parameters_alloc(), AvFree());
    if (out != nullptr) {
        out->codec_type = type;
        out->codec_id = codec;
    }
    return out;
}

bool setExtradata(AVCodecParameters* to, const std::uint8_t* data, std::size_t size) {
    to->extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (to->extradata == nullptr) {
        return false;
    }
    std::memcpy(to->extradata, data, size);
    to->extradata_size = static_cast<int>(size);
    return true;
}

// RFC 6184 8.1 and RFC 7798 7.1: units in base 64, joined by commas.
void appendSets(std::vector<std::uint8_t>& to, const char* sets) {
    const std::string all = sets != nullptr ? sets : "";
    for (std::size_t at = 0; at < all.size() && all.size() <= kMaxSetsBytes;) {
        const std::size_t end = std::min(all.find(',', at), all.size());
        const std::string one = all.substr(at, end - at);
        at = end + 1;
        std::vector<std::uint8_t> nal(AV_BASE64_DECODE_SIZE(one.size()) + 1);
        const int size = av_base64_decode(nal.data(), one.c_str(), static_cast<int>(nal.size()));
        if (size > 0) {
            to.insert(to.end(), {0, 0, 0, 1});
            to.insert(to.end(), nal.begin(), nal.begin() + size);
        }
    }
}

}  // namespace

const RtpFormat* rtpVideoFormat(const GstCaps* caps) { return find(kVideo, caps); }

const RtpFormat* rtpAudioFormat(const GstCaps* caps) { return find(kAudio, caps); }

bool isMedia(const GstCaps* caps, const char* media) {
    const char* const told = text(caps, "media");
    return told != nullptr && std::strcmp(told, media) == 0;
}

SharedParameters rtpVideoParameters(const RtpFormat& format, const GstCaps* rtp_caps) {
    const auto out = newParameters(AVMEDIA_TYPE_VIDEO, format.codec);
    std::vector<std::uint8_t> sets;
    for (const char* field : {"sprop-vps", "sprop-sps", "sprop-pps", "sprop-parameter-sets"}) {
        appendSets(sets, text(rtp_caps, field));
    }
    if (out != nullptr && !sets.empty() && !setExtradata(out.get(), sets.data(), sets.size())) {
        return nullptr;
    }
    return out;
}

SharedParameters rtpAudioParameters(const RtpFormat& format, const GstCaps* frame_caps) {
    const auto out = newParameters(AVMEDIA_TYPE_AUDIO, format.codec);
    if (out == nullptr || frame_caps == nullptr || gst_caps_get_size(frame_caps) == 0) {
        return nullptr;
    }
    const GstStructure* const structure = gst_caps_get_structure(frame_caps, 0);
    int rate = 0, channels = 0;
    gst_structure_get_int(structure, "rate", &rate);
    // Where neither is said, it is a telephone's sound.
    if (gst_structure_get_int(structure, "channels", &channels) == FALSE || channels < 1) {
        channels = 1;
    }
    out->sample_rate = rate > 0 ? rate : 8000;
    if (format.codec == AV_CODEC_ID_ADPCM_G722) {
        out->sample_rate = 16000;  // its clock runs at 8000 by an old mistake, RFC 3551 4.5.2
    }
    if (format.codec == AV_CODEC_ID_OPUS) {
        out->sample_rate = 48000;
    }
    av_channel_layout_default(&out->ch_layout, channels);
    const GValue* const configuration = gst_structure_get_value(structure, "codec_data");
    GstMapInfo map;
    if (configuration != nullptr && GST_VALUE_HOLDS_BUFFER(configuration) &&
        gst_buffer_map(gst_value_get_buffer(configuration), &map, GST_MAP_READ) == TRUE) {
        const bool set = map.size <= kMaxSetsBytes && setExtradata(out.get(), map.data, map.size);
        gst_buffer_unmap(gst_value_get_buffer(configuration), &map);
        if (!set) {
            return nullptr;
        }
    }
    return out;
}

}  // namespace tavrik
