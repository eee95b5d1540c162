// A stream that is asked for its bytes.
#pragma once

#include <functional>

#include "tavrik/source.h"

namespace tavrik {

class PullSource : public Source {
public:
    // Up to `capacity` bytes; 0 if none waits.
    using Read = std::function<int(unsigned char* dest, int capacity)>;
    explicit PullSource(Read read) : m_read(std::move(read)) {}
    void run(SourceSink& sink) override;

private:
    Read m_read;
};

}  // namespace tavrik
