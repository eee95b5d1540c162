#include "tavrik/picture_stream.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tavrik {
namespace {

// A sequence header of MPEG-1 or MPEG-2 video.
bool holdsSequenceHeader(const std::vector<std::uint8_t>& bytes) {
    static constexpr std::uint8_t kHeader[] = {0, 0, 1, 0xB3};
    return std::search(bytes.begin(), bytes.end(), std::begin(kHeader), std::end(kHeader)) != bytes.end();
}

}  // namespace

PictureStream::PictureStream(Codec codec, Sink sink, Ends ends)
    : m_sink(std::move(sink)),
      m_codec(codec),
      m_detect(codec == Codec::kUnknown),
      m_splitter([this](const Nal& nal) { onNal(nal); }),
      m_assembler(codec, [this](const AccessUnitPtr& unit) { onUnit(unit); }),
      m_ends(ends) {}

void PictureStream::stamp(const Stamp& stamp) {
    m_stamp = stamp;
    m_splitter.stamp(stamp);
}

void PictureStream::push(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return;
    }
    m_begun = true;
    if (opaque()) {
        pushOpaque(data, size);
        return;
    }
    if (m_ends == Ends::kGuessed) {
        m_silence.pushed(m_splitter.position(), m_stamp.arrival);
    }
    m_splitter.push(data, size);
    peek();
    judgeCut(false);
}

// The NAL in hand is not whole yet, but its first bytes may show that the picture before it is.
void PictureStream::peek() {
    if (!m_splitter.pending() || m_codec == Codec::kUnknown) {
        return;
    }
    const Nal begun = m_splitter.begun();
    if (begun.begin != m_peeked && m_assembler.peek(begun)) {
        m_peeked = begun.begin;
    }
}

void PictureStream::endOfPicture() {
    if (opaque()) {
        finishOpaque();
        return;
    }
    judgeCut(true);
    if (m_wrongContainerCuts < kWrongCutsAllowed) {
        m_splitter.flush();
        m_assembler.flush();
    }
    watchCut(Cut::kContainer, m_splitter.position());
}

void PictureStream::lost() {
    m_cut = Cut::kNone;
    m_opaqueDamaged = m_opaqueDamaged || m_begun;
    if (m_begun && !pending()) {
        m_assembler.markNextDamaged();
    }
    m_splitter.lost();
    m_assembler.markDamaged();
}

void PictureStream::finish() {
    if (opaque()) {
        finishOpaque();
        return;
    }
    m_splitter.flush();
    m_assembler.flush();
    m_cut = Cut::kNone;
}

void PictureStream::idle() {
    if (idleMs() < 0) {
        return;
    }
    // A parameter set or message in hand belongs to the next picture, or is followed by what does.
    const bool slice = m_splitter.pending() && m_assembler.isSlice(m_splitter.begun());
    if (!slice && !m_assembler.pending()) {
        return;
    }
    judgeCut(true);
    if (slice) {
        m_splitter.flush();
    }
    m_assembler.flush();
    watchCut(Cut::kSilence, m_splitter.pending() ? m_splitter.begun().begin : m_splitter.position());
}

bool PictureStream::pending() const {
    return opaque() ? !m_opaque.empty() : m_splitter.pending() || m_assembler.pending();
}

void PictureStream::watchCut(Cut cut, std::uint64_t position) {
    m_cut = cut;
    m_cutPosition = position;
    m_spansCut = false;
    m_splitter.takeStray();
    m_assembler.watch(position);
}

// A cut was wrong if the stream went on inside the picture. A lost first slice may look the same, so a few
// are forgiven to a container; it is judged on while it is not believed.
void PictureStream::judgeCut(bool nal_is_whole) {
    if (m_cut == Cut::kNone) {
        return;
    }
    AccessUnitAssembler::Slice next = m_assembler.watched();
    if (nal_is_whole && next == AccessUnitAssembler::Slice::kNone && m_splitter.pending()) {
        const Nal begun = m_splitter.begun();
        m_spansCut = m_spansCut || (begun.begin < m_cutPosition && begun.end > m_cutPosition);
        next = begun.begin >= m_cutPosition ? m_assembler.judge(begun) : next;
    }
    const bool same = next == AccessUnitAssembler::Slice::kOfTheSamePicture;
    if (m_splitter.takeStray() || same || m_spansCut) {
        cutWasWrong();
        m_cut = Cut::kNone;
    } else if (next != AccessUnitAssembler::Slice::kNone) {
        m_cut = Cut::kNone;
    }
}

void PictureStream::cutWasWrong() {
    if (m_cut == Cut::kSilence) {
        m_silence.wrong();
        return;
    }
    ++m_wrongContainerCuts;
    m_cleanUnits = 0;
}

void PictureStream::onNal(const Nal& nal) {
    m_spansCut = m_spansCut || (nal.begin < m_cutPosition && nal.end > m_cutPosition);
    if (m_detect) {
        followCodec(nal);
    }
    if (m_codec != Codec::kUnknown) {
        m_assembler.add(nal);
    }
}

void PictureStream::followCodec(const Nal& nal) {
    const Codec told = codecOfParameterSet(nal.data, nal.size);
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
    m_assembler = AccessUnitAssembler(told, [this](const AccessUnitPtr& unit) { onUnit(unit); });
}

void PictureStream::onUnit(const AccessUnitPtr& unit) {
    if (++m_cleanUnits >= kCleanUnits) {
        m_cleanUnits = 0;
        m_wrongContainerCuts = 0;
    }
    if (m_ends == Ends::kGuessed) {
        m_silence.picture(m_assembler.begin(), m_assembler.end(), unit->stamp.arrival);
    }
    m_sink(unit);
}

void PictureStream::pushOpaque(const std::uint8_t* data, std::size_t size) {
    if (m_opaque.size() + size > AccessUnitAssembler::kMaxUnitBytes) {
        m_opaque.clear();
        m_opaqueDamaged = true;
    }
    if (m_opaque.empty()) {
        m_opaqueStamp = m_stamp;
        m_stamp.pts = m_stamp.dts = kNoTime;
    }
    m_opaque.insert(m_opaque.end(), data, data + size);
}

void PictureStream::finishOpaque() {
    if (m_opaque.empty()) {
        return;
    }
    auto unit = std::make_shared<AccessUnit>();
    unit->codec = m_codec;
    unit->stamp = m_opaqueStamp;
    unit->decoding_can_begin = m_codec == Codec::kOther || holdsSequenceHeader(m_opaque);
    unit->file_can_begin = unit->decoding_can_begin;
    unit->damaged = std::exchange(m_opaqueDamaged, false);
    sealBytes(m_opaque);
    unit->padded = std::exchange(m_opaque, {});
    m_sink(unit);
}

}  // namespace tavrik
