// Pictures of a recorded clip, as a channel hands them out: over and over, in the order of the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "simulator/stream/encoder.h"

namespace podsim {

// Belongs to one thread.
class ClipSource {
public:
    // A file of H.264 or H.265. Null with a reason.
    static std::unique_ptr<ClipSource> open(const std::string& path, std::string& error);
    virtual ~ClipSource() = default;
    // The file's codec, size and rate (1 to 240 a second); the rest is unchanged.
    virtual void adopt(EncoderSettings& settings) const = 0;
    // The next picture, parameter sets before a key picture; behind the last the first again. False when the
    // file cannot be read on.
    virtual bool next(AccessUnit& out) = 0;
};

}  // namespace podsim
