#include "tavrik/group_ring.h"

namespace tavrik {

void GroupRing::push(const CaptureItem& item) {
    if (item.picture != nullptr && item.picture->file_can_begin) {
        clear();
    } else if (m_items.empty()) {
        return;
    }
    m_items.push_back(item);
    m_bytes += item.bytes();
    if (m_bytes > kMaxBytes || m_items.size() > kMaxItems) {
        clear();
    }
}

void GroupRing::clear() {
    m_items.clear();
    m_bytes = 0;
}

}  // namespace tavrik
