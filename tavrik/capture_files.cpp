#include "tavrik/capture_files.h"

#include <cstdio>
#include <utility>

#include "tavrik/parameter_sets.h"

namespace tavrik {
namespace {

constexpr const char* kFollowed = "another one follows";

void tellEnd(const std::string& path, const std::string& why, std::uint64_t pictures) {
    std::fprintf(stderr, "tavrik: capture %s ended: %s, %llu pictures\n", path.c_str(), why.c_str(),
                 static_cast<unsigned long long>(pictures));
}

}  // namespace

void CaptureFiles::begin(const CaptureTarget& target, CaptureFormat format, std::uint64_t serial) {
    close(m_before, kFollowed);
    m_before = std::exchange(m_file, File{});
    m_first = nullptr;
    m_firstGiven = false;
    if (format.codec != AV_CODEC_ID_HEVC) {
        close(m_before, kFollowed);
    }
    m_file.path = target.path;
    m_file.serial = serial;
    m_file.writer = target.mp4 ? makeMp4Writer(std::move(format)) : makeRawWriter(std::move(format));
    if (!m_file.writer->open(target.path)) {
        breakOff(m_file);
    }
}

void CaptureFiles::put(const CaptureItem& item) {
    if (item.sound != nullptr && m_file.writer != nullptr && !m_file.writer->sound(item.sound)) {
        breakOff(m_file);
    }
    if (item.picture != nullptr && !goesBefore(item.picture)) {
        putPicture(m_file, item.picture);
    }
}

bool CaptureFiles::goesBefore(const AccessUnitPtr& unit) {
    if (m_before.writer == nullptr) {
        return false;
    }
    if (m_first == nullptr) {
        m_first = unit;
        return false;
    }
    if (!needsPicturesBeforeKey(unit->codec, unit->data(), unit->size())) {
        close(m_before, kFollowed);
        m_first = nullptr;
        return false;
    }
    if (std::exchange(m_firstGiven, true) || putPicture(m_before, m_first)) {
        putPicture(m_before, unit);
    }
    return true;
}

bool CaptureFiles::putPicture(File& file, const AccessUnitPtr& unit) {
    if (file.writer == nullptr) {
        return false;
    }
    if (!file.writer->picture(unit)) {
        breakOff(file);
        return false;
    }
    ++file.pictures;
    return true;
}

void CaptureFiles::end(const char* reason) {
    close(m_before, kFollowed);
    close(m_file, reason);
    m_first = nullptr;
}

void CaptureFiles::close(File& file, const char* reason) {
    if (file.writer == nullptr) {
        return;
    }
    if (!file.writer->finish()) {
        breakOff(file);
        return;
    }
    tellEnd(file.path, reason, file.pictures);
    file = File{};
}

// What is in the file stays.
void CaptureFiles::breakOff(File& file) {
    tellEnd(file.path, file.writer->error(), file.pictures);
    const std::uint64_t serial = file.serial;
    file = File{};
    m_broken(serial);
    // Nothing comes any more that would end the one before.
    if (&file == &m_file) {
        close(m_before, kFollowed);
        m_first = nullptr;
    }
}

}  // namespace tavrik
