#include <X11/Xlib.h>

#include "platform/window_move.h"

namespace platform {
namespace {

constexpr long kMoveByPointer = 8;        // _NET_WM_MOVERESIZE_MOVE
constexpr long kSourceNormalProgram = 1;  // the request comes from a program, not from a pager

Display* input_connection = nullptr;

// The button that is held now, 0 for none: the window manager ends the move when exactly that one is
// released.
long heldButton(unsigned int state) {
    if ((state & Button1Mask) != 0) {
        return Button1;
    }
    if ((state & Button2Mask) != 0) {
        return Button2;
    }
    return (state & Button3Mask) != 0 ? Button3 : 0;
}

bool windowManagerMoves(Display* display, Window root, Atom move_resize) {
    const Atom supported = XInternAtom(display, "_NET_SUPPORTED", False);
    constexpr long kMostAtoms = 1024;
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, root, supported, 0, kMostAtoms, False, AnyPropertyType, &type, &format,
                           &count, &left, &data) != Success ||
        data == nullptr) {
        return false;
    }
    bool found = false;
    if (format == 32) {  // Xlib hands 32-bit items over as longs
        const auto* atoms = reinterpret_cast<const Atom*>(data);
        for (unsigned long i = 0; i < count && !found; ++i) {
            found = atoms[i] == move_resize;
        }
    }
    XFree(data);
    return found;
}

bool requestMove(Display* display, Window window) {
    const Window root = DefaultRootWindow(display);
    const Atom move_resize = XInternAtom(display, "_NET_WM_MOVERESIZE", False);
    if (!windowManagerMoves(display, root, move_resize)) {
        return false;
    }
    Window root_seen = None;
    Window child = None;
    int root_x = 0;
    int root_y = 0;
    int x = 0;
    int y = 0;
    unsigned int state = 0;
    if (XQueryPointer(display, root, &root_seen, &child, &root_x, &root_y, &x, &y, &state) == False) {
        return false;
    }
    const long button = heldButton(state);
    if (button == 0) {
        return false;  // released meanwhile: a move begun now would stick to the pointer
    }
    XUngrabPointer(display, CurrentTime);

    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = move_resize;
    event.xclient.format = 32;
    event.xclient.data.l[0] = root_x;
    event.xclient.data.l[1] = root_y;
    event.xclient.data.l[2] = kMoveByPointer;
    event.xclient.data.l[3] = button;
    event.xclient.data.l[4] = kSourceNormalProgram;
    const Status sent =
        XSendEvent(display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XFlush(display);
    return sent != 0;
}

}  // namespace

void setInputConnection(void* display) { input_connection = static_cast<Display*>(display); }

bool startSystemMove(std::uintptr_t native_window) {
    if (native_window == 0) {
        return false;
    }
    if (input_connection != nullptr) {
        return requestMove(input_connection, static_cast<Window>(native_window));
    }
    Display* own = XOpenDisplay(nullptr);
    if (own == nullptr) {
        return false;
    }
    const bool sent = requestMove(own, static_cast<Window>(native_window));
    XCloseDisplay(own);
    return sent;
}

}  // namespace platform
