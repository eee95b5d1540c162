// One video elementary stream from bytes to pictures, with no frame of delay where the container tells a
// picture's end; else a picture leaves when the next one begins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tavrik/access_unit.h"
#include "tavrik/nal.h"
#include "tavrik/nal_splitter.h"
#include "tavrik/silence_guess.h"
#include "tavrik/stamp.h"

namespace tavrik {

// Not thread-safe.
class PictureStream {
public:
    using Sink = std::function<void(const AccessUnitPtr& unit)>;
    // kProven: by endOfPicture() or the next picture's beginning alone. kGuessed: by silence too, once its
    // pauses are known; each push then needs a stamp with its arrival.
    enum class Ends { kProven, kGuessed };

    // Unknown: the first parameter set tells the codec, and a change of codec later is followed.
    PictureStream(Codec codec, Sink sink, Ends ends = Ends::kProven);

    // Of the picture whose first byte is pushed next.
    void stamp(const Stamp& stamp);
    void push(const std::uint8_t* data, std::size_t size);
    // The container proves that a picture has ended here. One that is found to say so inside pictures is not
    // believed until its word has been right for many.
    void endOfPicture();
    // The container knows that bytes are missing between the last push and the next.
    void lost();
    // The stream has ended: what waits is let go.
    void finish();

    // No byte has come for idleMs() milliseconds, and none waits in the system or in a queue.
    void idle();
    // Milliseconds of silence that end a picture; -1 while silence ends none.
    int idleMs() const { return m_ends == Ends::kGuessed ? m_silence.silenceMs() : -1; }

    // True while bytes wait for the end of their picture.
    bool pending() const;
    Codec codec() const { return m_codec; }
    // Of its buffers.
    std::size_t bytesHeld() const { return m_splitter.bytesHeld() + m_opaque.capacity(); }

private:
    enum class Cut { kNone, kContainer, kSilence };

    bool opaque() const { return m_codec == Codec::kOther || m_codec == Codec::kMpegVideo; }
    void onNal(const Nal& nal);
    void onUnit(const AccessUnitPtr& unit);
    void pushOpaque(const std::uint8_t* data, std::size_t size);
    void finishOpaque();
    void followCodec(const Nal& nal);
    void peek();
    void watchCut(Cut cut, std::uint64_t position);
    void judgeCut(bool nal_is_whole);
    void cutWasWrong();

    Sink m_sink;
    Codec m_codec;
    const bool m_detect;
    NalSplitter m_splitter;
    AccessUnitAssembler m_assembler;
    std::vector<std::uint8_t> m_opaque;  // of a codec whose packets are passed on
    Stamp m_stamp, m_opaqueStamp;
    bool m_opaqueDamaged = false;
    bool m_begun = false;        // what came before the first byte is no loss
    std::uint64_t m_peeked = 0;  // where the NAL begins whose beginning tells no more
    int m_foreignSets = 0;       // parameter sets of another codec in a row

    const Ends m_ends;
    SilenceGuess m_silence;
    Cut m_cut = Cut::kNone;           // what has ended a picture, until the next slice shows whether rightly
    std::uint64_t m_cutPosition = 0;  // where
    bool m_spansCut = false;          // a NAL goes on across it
    int m_wrongContainerCuts = 0;
    int m_cleanUnits = 0;  // pictures since the container was last found wrong

    static constexpr int kCleanUnits = 500;
    static constexpr int kWrongCutsAllowed = 3;
};

}  // namespace tavrik
