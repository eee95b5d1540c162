#include "tavrik/picture_stream.h"

#include <algorithm>

namespace tavrik {

PictureStream::PictureStream(Codec codec, Sink sink)
    : m_sink(std::move(sink)),
      m_codec(codec),
      m_detect(codec == Codec::kUnknown),
      m_splitter([this](const std::uint8_t* nal, std::size_t size) { onNal(nal, size); }),
      m_assembler(codec, [this](const AccessUnit& unit) { onUnit(unit); }) {}

void PictureStream::push(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return;
    }
    if (m_codec != Codec::kOther) {
        m_splitter.push(data, size);
        learnFromCut();
        return;
    }
    if (m_opaque.bytes.size() + size > AccessUnitAssembler::kMaxUnitBytes) {
        m_opaque.clear();
    }
    m_opaque.bytes.insert(m_opaque.bytes.end(), data, data + size);
    m_opaque.has_picture = m_opaque.key = true;
}

void PictureStream::endOfPicture() {
    // A container that ends packets inside pictures is no guide; silence and the next picture's beginning
    // remain.
    if (m_wrongContainerCuts < kWrongCutsAllowed) {
        cut(Cut::kContainer);
    }
}

void PictureStream::idle() { cut(Cut::kIdle); }

void PictureStream::samePicture(int gap_ms) {
    m_gapMs = std::max(m_gapMs, gap_ms);
    followGaps();
    if (m_lastCut == Cut::kIdle) {
        m_lastCut = Cut::kNone;
    }
}

// Half as long again as the longest pause seen: it needs no trial at the price of a damaged picture to come
// down.
void PictureStream::followGaps() {
    const int longest = std::max(m_gapMs, m_lastGapMs);
    m_idleMs = std::clamp(longest + (longest + 1) / 2, kIdleMs, kMaxIdleMs);
}

bool PictureStream::pending() const {
    return m_codec == Codec::kOther ? m_opaque.has_picture : m_splitter.pending() || m_assembler.pending();
}

void PictureStream::cut(Cut reason) {
    if (m_codec == Codec::kOther) {
        if (m_opaque.has_picture) {
            onUnit(m_opaque);
        }
        m_opaque.clear();
        return;
    }
    if (!pending()) {
        return;
    }
    m_splitter.flush();
    m_cutAPicture = m_assembler.pending();
    m_assembler.flush();
    m_lastCut = reason;
}

// A cut was wrong if the stream went on inside the picture. Then that kind of cut is used with more patience,
// and trusted again after many good pictures.
void PictureStream::learnFromCut() {
    const bool continued = m_assembler.takeContinued();
    const bool wrong = continued || m_splitter.cutByFlush();
    if (!wrong || m_lastCut == Cut::kNone) {
        return;
    }
    // A lost first slice looks the same as a pause, so it takes two within a short time.
    const bool again = m_idleSuspect && m_cleanUnits < kSuspectUnits;
    if (m_lastCut == Cut::kIdle) {
        m_idleSuspect = !again;
        if (again && m_gapMs < 0) {
            morePatience();
        }
    }
    if (m_lastCut == Cut::kContainer) {
        ++m_wrongContainerCuts;
    }
    m_lastCut = Cut::kNone;
    m_cleanUnits = 0;
}

// Each time it takes longer until the shorter silence is tried again: a try costs a damaged picture.
void PictureStream::morePatience() {
    if (m_idleMs < kMaxIdleMs) {
        m_unitsToTrust = std::min(m_unitsToTrust * 2, kMaxCleanUnits);
    }
    m_idleMs = std::min(m_idleMs * 2, kMaxIdleMs);
    m_cleanUnits = 0;
}

void PictureStream::onNal(const std::uint8_t* nal, std::size_t size) {
    if (m_detect) {
        followCodec(nal, size);
    }
    if (m_codec != Codec::kUnknown) {
        m_assembler.add(nal, size);
    }
}

void PictureStream::followCodec(const std::uint8_t* nal, std::size_t size) {
    const Codec told = codecOfParameterSet(nal, size);
    if (told == Codec::kUnknown) {
        return;
    }
    if (told == m_codec) {
        m_foreignSets = 0;
        return;
    }
    // One foreign set may be a damaged byte; two in a row with none of the own between are another sender.
    if (m_codec != Codec::kUnknown && ++m_foreignSets < 2) {
        return;
    }
    m_foreignSets = 0;
    m_codec = told;
    m_assembler = AccessUnitAssembler(told, [this](const AccessUnit& unit) { onUnit(unit); });
}

void PictureStream::onUnit(const AccessUnit& unit) {
    if (m_gapMs >= 0 && ++m_windowUnits >= kGapUnits) {
        m_windowUnits = 0;
        m_lastGapMs = m_gapMs;
        m_gapMs = 0;
        followGaps();
    }
    if (++m_cleanUnits >= m_unitsToTrust) {
        m_cleanUnits = 0;
        if (m_gapMs < 0) {
            m_idleMs = std::max(m_idleMs / 2, kIdleMs);
        }
        m_wrongContainerCuts = 0;
    }
    m_sink(m_codec, unit);
}

}  // namespace tavrik
