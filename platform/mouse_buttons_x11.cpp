#include <X11/Xlib.h>

#include "platform/mouse_buttons.h"

namespace platform {

std::optional<bool> isButtonDown(void* display, MouseButton button) {
    if (display == nullptr) {
        return std::nullopt;
    }
    auto* const connection = static_cast<Display*>(display);
    Window root = None;
    Window child = None;
    int root_x = 0;
    int root_y = 0;
    int x = 0;
    int y = 0;
    unsigned int state = 0;
    if (XQueryPointer(connection, DefaultRootWindow(connection), &root, &child, &root_x, &root_y, &x, &y,
                      &state) == False) {
        return std::nullopt;  // the pointer is on another screen
    }
    switch (button) {
        case MouseButton::kLeft:
            return (state & Button1Mask) != 0;
        case MouseButton::kMiddle:
            return (state & Button2Mask) != 0;
        default:
            return (state & Button3Mask) != 0;
    }
}

}  // namespace platform
