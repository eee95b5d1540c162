#include "settings/reply_router.h"

#include <algorithm>

bool ReplyRouter::route(std::uint16_t code, const unsigned char* data, int size) const {
    const ReplyRow* end = m_rows + m_count;
    const ReplyRow* row = std::find_if(m_rows, end, [code](const ReplyRow& r) { return r.code == code; });
    if (row == end) {
        return false;
    }
    m_pages[static_cast<std::size_t>(row->page)]->onReply(code, data, size);
    return true;
}
