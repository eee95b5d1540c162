// What this process' heap holds.
#pragma once

#include <malloc.h>

#include <cstddef>

#ifdef SORVANE_SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace tavrik::test {

inline std::size_t bytesInUse() {
#ifdef SORVANE_SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

}  // namespace tavrik::test
