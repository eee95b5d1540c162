// The sound of a channel: a quiet tone with a mark at chosen moments, as AAC.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace podsim {

constexpr int kSoundRate = 48000;
constexpr int kSoundChannels = 2;

// One AAC frame (1024 samples) in an ADTS header.
struct SoundUnit {
    std::vector<std::uint8_t> bytes;
    std::int64_t time_ns = 0;  // when its first sample sounds, on the clock of Sound::advance()
};

// Belongs to one thread.
class Sound {
public:
    virtual ~Sound() = default;
    // Sounds on until `time_ns` (a steady clock) and appends the frames that are whole by then. The sound
    // since the last call is 440 Hz, or 1000 Hz and four times as loud with `mark`. The first call, and one
    // more than a second after the last, sounds nothing and begins anew.
    virtual void advance(std::int64_t time_ns, bool mark, std::vector<SoundUnit>& out) = 0;
};

// Null, with a reason, when there is no encoder.
std::unique_ptr<Sound> makeSound(std::string& error);

}  // namespace podsim
