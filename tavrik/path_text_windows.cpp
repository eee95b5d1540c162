#include <windows.h>

#include "tavrik/path_text.h"

namespace tavrik {

std::string utf8FromGbk(const std::string& gbk) {
    constexpr UINT kGbk = 936;
    const int length = static_cast<int>(gbk.size());
    const int wide_size = MultiByteToWideChar(kGbk, MB_ERR_INVALID_CHARS, gbk.data(), length, nullptr, 0);
    if (wide_size <= 0) {
        return gbk;
    }
    std::wstring wide(static_cast<std::size_t>(wide_size), L'\0');
    MultiByteToWideChar(kGbk, 0, gbk.data(), length, wide.data(), wide_size);
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide.data(), wide_size, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), wide_size, out.data(), size, nullptr, nullptr);
    return out;
}

}  // namespace tavrik
