#include "simulator/pod/text.h"

#include <cstdarg>
#include <cstdio>

namespace podsim {

std::string formatText(const char* pattern, ...) {
    va_list args;
    va_start(args, pattern);
    va_list again;
    va_copy(again, args);
    const int n = std::vsnprintf(nullptr, 0, pattern, args);
    va_end(args);
    std::string text(static_cast<std::size_t>(n < 0 ? 0 : n), '\0');
    // The terminating zero falls on the string's own.
    std::vsnprintf(text.data(), text.size() + 1, pattern, again);
    va_end(again);
    return text;
}

}  // namespace podsim
