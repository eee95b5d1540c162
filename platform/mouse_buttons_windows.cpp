#include <windows.h>

#include "platform/mouse_buttons.h"

namespace platform {

// The system knows the buttons as they are built; a left-handed user has the outer two exchanged.
std::optional<bool> isButtonDown(void* /*display*/, MouseButton button) {
    const bool exchanged = GetSystemMetrics(SM_SWAPBUTTON) != 0;
    int key = VK_MBUTTON;
    if (button != MouseButton::kMiddle) {
        key = (button == MouseButton::kLeft) != exchanged ? VK_LBUTTON : VK_RBUTTON;
    }
    return (GetAsyncKeyState(key) & 0x8000) != 0;
}

}  // namespace platform
