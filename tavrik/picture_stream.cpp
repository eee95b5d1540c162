#include "tavrik/picture_stream.h"

#include <algorithm>

namespace tavrik {

PictureStream::PictureStream(Codec codec, Sink sink)
    : sink_(std::move(sink)),
      codec_(codec),
      detect_(codec == Codec::Unknown),
      splitter_([this](const std::uint8_t* nal, std::size_t size) { onNal(nal, size); }),
      assembler_(codec, [this](const AccessUnit& unit) { onUnit(unit); }) {}

void PictureStream::push(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return;
    if (codec_ != Codec::Other) {
        splitter_.push(data, size);
        learnFromCut();
        return;
    }
    if (opaque_.bytes.size() + size > AccessUnitAssembler::kMaxUnitBytes) opaque_.clear();
    opaque_.bytes.insert(opaque_.bytes.end(), data, data + size);
    opaque_.has_picture = opaque_.key = true;
}

void PictureStream::endOfPicture() {
    // A container that ends packets inside pictures is no guide; silence and the next picture's beginning
    // remain.
    if (wrong_container_cuts_ < kWrongCutsAllowed) cut(Cut::Container);
}

void PictureStream::idle() {
    cut(Cut::Idle);
}

void PictureStream::samePicture(int gap_ms) {
    gap_ms_ = std::max(gap_ms_, gap_ms);
    followGaps();
    if (last_cut_ == Cut::Idle) last_cut_ = Cut::None;
}

// Half as long again as the longest pause seen: it needs no trial at the price of a damaged picture to come
// down.
void PictureStream::followGaps() {
    const int longest = std::max(gap_ms_, last_gap_ms_);
    idle_ms_ = std::clamp(longest + (longest + 1) / 2, kIdleMs, kMaxIdleMs);
}

bool PictureStream::pending() const {
    return codec_ == Codec::Other ? opaque_.has_picture : splitter_.pending() || assembler_.pending();
}

void PictureStream::cut(Cut reason) {
    if (codec_ == Codec::Other) {
        if (opaque_.has_picture) onUnit(opaque_);
        opaque_.clear();
        return;
    }
    if (!pending()) return;
    splitter_.flush();
    cut_a_picture_ = assembler_.pending();
    assembler_.flush();
    last_cut_ = reason;
}

// A cut was wrong if the stream went on inside the picture. Then that kind of cut is used with more patience,
// and trusted again after many good pictures.
void PictureStream::learnFromCut() {
    const bool continued = assembler_.takeContinued();
    const bool wrong = continued || splitter_.cutByFlush();
    if (!wrong || last_cut_ == Cut::None) return;
    // A lost first slice looks the same as a pause, so it takes two within a short time.
    const bool again = idle_suspect_ && clean_units_ < kSuspectUnits;
    if (last_cut_ == Cut::Idle) {
        idle_suspect_ = !again;
        if (again && gap_ms_ < 0) morePatience();
    }
    if (last_cut_ == Cut::Container) ++wrong_container_cuts_;
    last_cut_ = Cut::None;
    clean_units_ = 0;
}

// Each time it takes longer until the shorter silence is tried again: a try costs a damaged picture.
void PictureStream::morePatience() {
    if (idle_ms_ < kMaxIdleMs) units_to_trust_ = std::min(units_to_trust_ * 2, kMaxCleanUnits);
    idle_ms_ = std::min(idle_ms_ * 2, kMaxIdleMs);
    clean_units_ = 0;
}

void PictureStream::onNal(const std::uint8_t* nal, std::size_t size) {
    if (detect_) followCodec(nal, size);
    if (codec_ != Codec::Unknown) assembler_.add(nal, size);
}

void PictureStream::followCodec(const std::uint8_t* nal, std::size_t size) {
    const Codec told = codecOfParameterSet(nal, size);
    if (told == Codec::Unknown) return;
    if (told == codec_) {
        foreign_sets_ = 0;
        return;
    }
    // One foreign set may be a damaged byte; two in a row with none of the own between are another sender.
    if (codec_ != Codec::Unknown && ++foreign_sets_ < 2) return;
    foreign_sets_ = 0;
    codec_ = told;
    assembler_ = AccessUnitAssembler(told, [this](const AccessUnit& unit) { onUnit(unit); });
}

void PictureStream::onUnit(const AccessUnit& unit) {
    if (gap_ms_ >= 0 && ++window_units_ >= kGapUnits) {
        window_units_ = 0;
        last_gap_ms_ = gap_ms_;
        gap_ms_ = 0;
        followGaps();
    }
    if (++clean_units_ >= units_to_trust_) {
        clean_units_ = 0;
        if (gap_ms_ < 0) idle_ms_ = std::max(idle_ms_ / 2, kIdleMs);
        wrong_container_cuts_ = 0;
    }
    sink_(codec_, unit);
}

}  // namespace tavrik
