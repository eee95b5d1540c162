#include <iconv.h>

#include "tavrik/path_text.h"

namespace tavrik {

std::string utf8FromGbk(const std::string& gbk) {
    const iconv_t converter = ::iconv_open("UTF-8", "GBK");
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        return gbk;
    }
    std::string in = gbk;
    std::string out(gbk.size() * 3 + 1, '\0');  // two bytes become three at most, one becomes three
    char* from = in.data();
    char* to = out.data();
    std::size_t left = in.size(), room = out.size();
    const bool good = ::iconv(converter, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
    ::iconv_close(converter);
    if (!good || left != 0) {
        return gbk;
    }
    out.resize(out.size() - room);
    return out;
}

}  // namespace tavrik
