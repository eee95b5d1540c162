// One video elementary stream from bytes to pictures, with no frame of delay: a picture leaves as soon as its
// end is known from the container, from the next one's beginning, or from silence on the line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "tavrik/access_unit.h"
#include "tavrik/nal.h"
#include "tavrik/nal_splitter.h"

namespace tavrik {

// Not thread-safe; the owner measures the silence.
class PictureStream {
public:
    using Sink = std::function<void(Codec codec, const AccessUnit& unit)>;

    // Unknown: the first parameter set tells the codec, and a change of codec later is followed.
    PictureStream(Codec codec, Sink sink);

    void push(const std::uint8_t* data, std::size_t size);
    // The container says that a picture has ended here.
    void endOfPicture();
    // The container says that what is pushed next belongs to the picture of the last push, gap_ms
    // milliseconds after it. The longest gap of the last pictures then sets the silence that ends one.
    void samePicture(int gap_ms);
    // No byte has come for idleMs() milliseconds.
    void idle();

    // True while bytes wait for the end of their picture.
    bool pending() const;
    // Milliseconds of silence that end a picture: 3, and longer (up to 48) for a sender found to pause inside
    // pictures.
    int idleMs() const { return m_idleMs; }
    Codec codec() const { return m_codec; }

private:
    enum class Cut { kNone, kContainer, kIdle };

    void onNal(const std::uint8_t* nal, std::size_t size);
    void onUnit(const AccessUnit& unit);
    void followCodec(const std::uint8_t* nal, std::size_t size);
    void cut(Cut reason);
    void learnFromCut();
    void morePatience();
    void followGaps();

    Sink m_sink;
    Codec m_codec;
    const bool m_detect;
    NalSplitter m_splitter;
    AccessUnitAssembler m_assembler;
    AccessUnit m_opaque;  // for Codec::kOther
    Cut m_lastCut = Cut::kNone;
    bool m_cutAPicture = false;  // the last cut handed one out
    int m_foreignSets = 0;       // parameter sets of another codec in a row
    int m_idleMs = kIdleMs;
    bool m_idleSuspect = false;        // one silence has cut a picture; it may have been a loss
    int m_cleanUnits = 0;              // pictures since a cut was last found wrong
    int m_unitsToTrust = kCleanUnits;  // clean pictures after which a shorter silence is tried again
    int m_wrongContainerCuts = 0;
    int m_gapMs = -1;     // longest pause inside the pictures of the present window; -1: none was ever told
    int m_lastGapMs = 0;  // that of the window before
    int m_windowUnits = 0;

    static constexpr int kIdleMs = 3;
    static constexpr int kMaxIdleMs = 48;
    static constexpr int kGapUnits =
        100;  // pictures in a window of gaps: a pause is remembered 4 to 8 s at 25 a second
    static constexpr int kSuspectUnits = 50;
    static constexpr int kCleanUnits = 500;
    static constexpr int kMaxCleanUnits = 16000;
    static constexpr int kWrongCutsAllowed = 3;
};

}  // namespace tavrik
