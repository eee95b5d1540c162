#include "link/frames.h"

#include <cstring>

#include "base/bytes.h"
#include "base/checksum.h"

namespace sorvane {

void resetFixedFrame(FixedCommandFrame& frame) { frame = FixedCommandFrame(); }

void completeFixedFrame(FixedCommandFrame& frame, const NavBlock& nav, const CalendarTime* local_time) {
    if (!carriesLongPayload(frame.code)) {
        frame.nav = nav;
        if (local_time != nullptr) {
            setLocalTime(frame.nav, *local_time);
        }
        std::uint8_t* block = frame.bytes() + offsetof(FixedCommandFrame, nav);
        storeF32(block + offsetof(NavBlock, longitude), static_cast<float>(nav.longitude / 1e7));
        storeF32(block + offsetof(NavBlock, latitude), static_cast<float>(nav.latitude / 1e7));
    }
    frame.check = frameXor(frame.bytes() + 2, 40);
}

std::vector<std::uint8_t> buildVariableFrame(std::uint16_t code, const void* data, int n) {
    if (n < 0 || n > kMaxVariablePayload || (data == nullptr && n != 0)) {
        return {};
    }
    std::vector<std::uint8_t> frame(static_cast<std::size_t>(n + kVariableFrameOverhead));
    frame[0] = kFrameMagic0;
    frame[1] = kFrameMagic1;
    frame[2] = 0xAA;
    frame[3] = static_cast<std::uint8_t>(n + 2);
    storeU16(&frame[4], code);
    if (n > 0) {
        std::memcpy(&frame[6], data, static_cast<std::size_t>(n));
    }
    frame.back() = frameXor(&frame[3], n + 3);
    return frame;
}

}  // namespace sorvane
