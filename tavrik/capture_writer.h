// A file that a stream is recorded to.
#pragma once

#include <memory>
#include <string>

#include "tavrik/capture_item.h"

namespace tavrik {

// One thread; calls wait for the disk. Once one has returned false, error() tells why and nothing more may be
// written; what has been written is a whole file all the same.
class CaptureWriter {
public:
    virtual ~CaptureWriter() = default;
    virtual bool open(const std::string& path) = 0;
    virtual bool picture(const AccessUnitPtr& unit) = 0;
    virtual bool sound(const SoundChunkPtr& chunk) = 0;
    // Writes what is still held, and closes.
    virtual bool finish() = 0;
    virtual const std::string& error() const = 0;
};

std::unique_ptr<CaptureWriter> makeMp4Writer(CaptureFormat format);
// The elementary stream in Annex B, parameter sets first; no sound.
std::unique_ptr<CaptureWriter> makeRawWriter(CaptureFormat format);

}  // namespace tavrik
