#include "tavrik/nal_splitter.h"

#include <algorithm>
#include <cstring>

namespace tavrik {

void NalSplitter::push(const std::uint8_t* data, std::size_t size) {
    buffer_.insert(buffer_.end(), data, data + size);
    std::size_t at = std::max(scanned_, begin_ + 2);
    while (at < buffer_.size()) {
        // The 1 of a start code is rare, two zeros are not: memchr for the 1 skips most of a picture.
        const void* hit = std::memchr(buffer_.data() + at, 1, buffer_.size() - at);
        if (hit == nullptr) break;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - buffer_.data());
        if (buffer_[at - 1] == 0 && buffer_[at - 2] == 0) {
            emit(at - 2);
            in_nal_ = true;
            begin_ = at + 1;
            at += 2;
        }
        ++at;
    }
    scanned_ = buffer_.size();
    dropProcessed();
}

void NalSplitter::emit(std::size_t end) {
    std::size_t last = end;
    while (last > begin_ && buffer_[last - 1] == 0)
        --last;
    if (!in_nal_) {
        stray_ = stray_ || last > begin_;
        return;
    }
    if (last > begin_) sink_(buffer_.data() + begin_, last - begin_);
}

void NalSplitter::dropProcessed() {
    if (!in_nal_ || buffer_.size() - begin_ > kMaxNalBytes) {
        if (in_nal_) in_nal_ = false;
        emit(buffer_.size());
        begin_ = buffer_.size() > 2 ? std::max(begin_, buffer_.size() - 2) : begin_;
    }
    if (begin_ == 0) return;
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(begin_));
    scanned_ -= std::min(scanned_, begin_);
    begin_ = 0;
}

void NalSplitter::flush() {
    emit(buffer_.size());
    std::size_t zeros = 0;
    while (zeros < 2 && zeros < buffer_.size() - begin_ && buffer_[buffer_.size() - 1 - zeros] == 0)
        ++zeros;
    buffer_.assign(zeros, 0);
    begin_ = 0;
    scanned_ = 0;
    in_nal_ = false;
    stray_ = false;
}

void NalSplitter::reset() {
    buffer_.clear();
    begin_ = scanned_ = 0;
    in_nal_ = stray_ = false;
}

}  // namespace tavrik
