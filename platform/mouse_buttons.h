// What the system knows of the mouse, past the events that it has sent to the program.
#pragma once

#include <optional>

namespace platform {

enum class MouseButton { kLeft, kMiddle, kRight };

// Whether the button is down now, whoever has the pointer. Nothing when the system does not tell. `display`
// is the connection (Display*) to the X server, not owned; without meaning elsewhere. One exchange with the
// server, on the thread that owns the connection.
std::optional<bool> isButtonDown(void* display, MouseButton button);

}  // namespace platform
