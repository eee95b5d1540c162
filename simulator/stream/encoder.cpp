#include "simulator/stream/encoder.h"

namespace podsim {

std::unique_ptr<Encoder> makeEncoder(const EncoderSettings& s, std::string& error) {
    if (s.width < 64 || s.height < 64 || s.width % 2 || s.height % 2) {
        error = "width and height must be even and at least 64";
        return nullptr;
    }
    // The library's slices want a thread pool.
    if (s.codec == Codec::kH265 && s.slices != 1) {
        error = "H.265 pictures have one slice";
        return nullptr;
    }
    auto encoder = s.codec == Codec::kH264 ? makeX264Encoder(s) : makeX265Encoder(s);
    if (!encoder) {
        error = "the encoder refuses these settings";
    }
    return encoder;
}

}  // namespace podsim
