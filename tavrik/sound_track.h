// A stream's sound made into the frames of an MP4 track.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tavrik/adts.h"
#include "tavrik/capture_item.h"
#include "tavrik/sound_parser.h"

namespace tavrik {

struct SoundFrame {
    std::vector<std::uint8_t> data;
    Stamp stamp;      // pts kNoTime: it follows the one before
    int samples = 0;  // how long it sounds
};

// Not thread-safe. The first sound decides what the track is; sound of another kind later is left out.
class SoundTrack {
public:
    // Frames that become whole are appended. A reason, once, when sound begins to be left out; else empty.
    std::string push(const SoundChunk& chunk, std::vector<SoundFrame>& frames);
    // Null until the first frame.
    const AVCodecParameters* parameters() const { return m_track.get(); }
    // Sound has come of which nothing can be recorded.
    bool refused() const { return m_refused; }

private:
    void adts(const SoundChunk& chunk, std::vector<SoundFrame>& frames);
    // False when the sound is not described well enough to be recorded.
    bool whole(const SoundChunk& chunk, std::vector<SoundFrame>& frames);
    void parse(const SoundChunk& chunk, std::vector<SoundFrame>& frames);
    bool begin(const AVCodecParameters& like);
    bool readConfiguration();

    SharedParameters m_source;  // of the chunks
    ParametersPtr m_track;
    AdtsSplitter m_splitter;
    CodecContextPtr m_context;
    SoundParser m_parser;
    int m_rateIndex = -1;
    bool m_refused = false;
};

}  // namespace tavrik
