// Hands the dragging of a window over to the system, for windows that draw their own title strip.
#pragma once

#include <cstdint>

namespace platform {

// Asks the system to move the top-level window with the pointer until the button is released. Call it from
// the handler of a button press, on the thread that owns the window. `native_window` is the system's handle:
// HWND, or X11 Window. Returns false when the system cannot do it (no display, no window manager that moves
// windows).
bool startSystemMove(std::uintptr_t native_window);

// X11 only, elsewhere without effect: the connection (Display*) on which the toolkit receives its input. The
// press that starts a move leaves the pointer grabbed by that connection, and only it can let go; without it
// the move is asked for on a connection of our own and the window manager may refuse. Not owned; null takes
// it back.
void setInputConnection(void* display);

}  // namespace platform
