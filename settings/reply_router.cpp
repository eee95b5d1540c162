#include "settings/reply_router.h"

#include <algorithm>

bool ReplyRouter::route(std::uint16_t code, const unsigned char* data, int size) const {
    const ReplyRow* end = m_rows + m_count;
    const int first = size > 0 ? data[0] : -1;
    const ReplyRow* row = std::find_if(m_rows, end, [code, first](const ReplyRow& r) {
        return r.code == code && (r.first_byte < 0 || r.first_byte == first);
    });
    if (row == end) {
        return false;
    }
    m_pages[static_cast<std::size_t>(row->page)]->onReply(code, data, size);
    return true;
}
