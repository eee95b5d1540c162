// The present group of pictures of a stream, key picture first, with its sound: what a recording begins with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tavrik/capture_item.h"

namespace tavrik {

// Not thread-safe. Bounded: a longer group is forgotten, and a recording waits for the next key picture.
class GroupRing {
public:
    static constexpr std::size_t kMaxBytes = 48u << 20;
    static constexpr std::size_t kMaxItems = 8192;

    void push(const CaptureItem& item);
    void clear();
    bool empty() const { return m_items.empty(); }
    const std::vector<CaptureItem>& items() const { return m_items; }

private:
    std::vector<CaptureItem> m_items;
    std::size_t m_bytes = 0;
};

}  // namespace tavrik
