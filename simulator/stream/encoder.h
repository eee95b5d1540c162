// One video encoder: pictures in, Annex B access units out, one for one and without delay.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "simulator/wire/sei.h"

namespace podsim {

struct EncoderSettings {
    Codec codec = Codec::kH264;
    int width = 1280;  // even
    int height = 720;  // even
    int fps = 25;
    int bitrate_kbps = 4000;
    int key_interval = 25;  // pictures from one key frame to the next
    int slices = 1;         // a picture, 1 to 16; H.265: 1
};

// Planes of a 4:2:0 picture of the encoder's size.
struct PictureView {
    const std::uint8_t* planes[3];
    int strides[3];
};

struct AccessUnit {
    std::vector<std::uint8_t> bytes;  // parameter sets before every key frame
    bool key_frame = false;
};

class Encoder {
public:
    virtual ~Encoder() = default;
    // False when the encoder failed; `out` is then empty.
    virtual bool encode(const PictureView& picture, bool force_key_frame, AccessUnit& out) = 0;
    // Whether a new bit rate could be taken over without a restart.
    virtual bool setBitrate(int kbps) = 0;
};

// Null, with a reason, when the encoder refuses the settings. Uses the calling thread only.
std::unique_ptr<Encoder> makeEncoder(const EncoderSettings& settings, std::string& error);

// The two makers behind makeEncoder().
std::unique_ptr<Encoder> makeX264Encoder(const EncoderSettings& settings);
std::unique_ptr<Encoder> makeX265Encoder(const EncoderSettings& settings);

}  // namespace podsim
