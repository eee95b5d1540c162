// AAC in ADTS, as transport streams carry it: ISO/IEC 13818-7 6.2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace tavrik {

struct AdtsFrame {
    const std::uint8_t* data = nullptr;  // without the header
    std::size_t size = 0;
    int object_type = 0;  // 2: AAC LC
    int rate_index = 0;
    int sample_rate = 0;
    int channels = 0;             // configuration, 1 to 7
    bool begins_in_piece = true;  // false: its header began in the bytes pushed before
};

struct AacConfiguration {
    int sample_rate = 0;  // of the coded frames
    int channels = 0;     // configuration, 0: told elsewhere
};

// AudioSpecificConfig, ISO/IEC 14496-3 1.6.2.1. False if it is none.
bool readAacConfiguration(const std::uint8_t* data, std::size_t size, AacConfiguration& out);

// Not thread-safe. Frames come in pieces of any size.
class AdtsSplitter {
public:
    using Sink = std::function<void(const AdtsFrame& frame)>;
    void push(const std::uint8_t* data, std::size_t size, const Sink& sink);

private:
    std::vector<std::uint8_t> m_bytes;
};

}  // namespace tavrik
