// Takes the keyboard focus away from the program, as another application's window would. Included last: the
// macros of X11 and the names of other libraries do not go together.
#pragma once

#include <X11/Xlib.h>

// False without an X display.
inline bool giveFocusAway() {
    // The connection stays open for the rest of the test, and the window with it.
    static Display* const display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        return false;
    }
    const Window root = DefaultRootWindow(display);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = 1;
    const Window other =
        XCreateWindow(display, root, 0, 0, 20, 20, 0, 0, 1 /* InputOutput */, nullptr, 1UL << 9, &attributes);
    XMapWindow(display, other);
    XSync(display, 0);
    XSetInputFocus(display, other, 2 /* RevertToParent */, 0L);
    XSync(display, 0);
    return true;
}

#undef Bool
#undef None
#undef Status
#undef KeyPress
#undef KeyRelease
#undef FocusIn
#undef FocusOut
#undef FontChange
#undef Expose
#undef Unsorted
#undef CursorShape
