// A bound on what one of GStreamer's elements gathers out of packets before it hands anything on.
#pragma once

#include <cstddef>

typedef struct _GstElement GstElement;

namespace tavrik {

// With what describes each packet. Twice as much as a picture may have.
constexpr std::size_t kMostGathered = 32u << 20;

// To be called before the element is linked. When more than kMostGathered has gone in since something came
// out last, the element throws away what it has and goes on as behind a loss.
void limitGathering(GstElement* depayloader);

}  // namespace tavrik
