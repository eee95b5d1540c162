#include "x11_pointer.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <cstring>
#include <vector>

struct X11Pointer::State {
    Display* display = XOpenDisplay(nullptr);
    Window root = None;
    Atom move_resize = None;
    Atom mark = None;
    Window other = None;
    std::vector<XClientMessageEvent> requests;
    long last_button = 0;
};

X11Pointer::X11Pointer() : m_state(new State) {
    State& s = *m_state;
    if (s.display == nullptr) {
        return;
    }
    s.root = DefaultRootWindow(s.display);
    s.move_resize = XInternAtom(s.display, "_NET_WM_MOVERESIZE", False);
    s.mark = XInternAtom(s.display, "_TEST_MARK", False);
    XSelectInput(s.display, s.root, SubstructureNotifyMask);
    XSync(s.display, False);
}

X11Pointer::~X11Pointer() {
    if (m_state->display != nullptr) {
        XCloseDisplay(m_state->display);
    }
}

bool X11Pointer::available() const { return m_state->display != nullptr; }

void X11Pointer::moveTo(int x, int y) {
    XTestFakeMotionEvent(m_state->display, -1, x, y, CurrentTime);
    XSync(m_state->display, False);
}

void X11Pointer::press(int button) {
    XTestFakeButtonEvent(m_state->display, static_cast<unsigned>(button), True, CurrentTime);
    XSync(m_state->display, False);
}

void X11Pointer::release(int button) {
    XTestFakeButtonEvent(m_state->display, static_cast<unsigned>(button), False, CurrentTime);
    XSync(m_state->display, False);
}

static bool fakeKey(Display* display, const char* name, Bool down) {
    const KeySym symbol = XStringToKeysym(name);
    const KeyCode code = symbol != NoSymbol ? XKeysymToKeycode(display, symbol) : KeyCode(0);
    if (code == 0) {
        return false;
    }
    XTestFakeKeyEvent(display, code, down, CurrentTime);
    XSync(display, False);
    return true;
}

bool X11Pointer::keyPress(const char* name) { return fakeKey(m_state->display, name, True); }

bool X11Pointer::keyRelease(const char* name) { return fakeKey(m_state->display, name, False); }

bool X11Pointer::takeGrab() {
    const State& s = *m_state;
    return XGrabPointer(s.display, s.root, False, ButtonPressMask | ButtonReleaseMask | PointerMotionMask,
                        GrabModeAsync, GrabModeAsync, None, None, CurrentTime) == GrabSuccess;
}

void X11Pointer::dropGrab() {
    XUngrabPointer(m_state->display, CurrentTime);
    XSync(m_state->display, False);
}

void X11Pointer::takeFocus() {
    State& s = *m_state;
    if (s.other == None) {
        XSetWindowAttributes attributes;
        std::memset(&attributes, 0, sizeof attributes);
        attributes.override_redirect = True;
        s.other = XCreateWindow(s.display, s.root, 0, 0, 20, 20, 0, 0, InputOutput, nullptr,
                                CWOverrideRedirect, &attributes);
        XMapWindow(s.display, s.other);
        XSync(s.display, False);
    }
    XSetInputFocus(s.display, s.other, RevertToParent, CurrentTime);
    XSync(s.display, False);
}

std::pair<int, int> X11Pointer::size(std::uintptr_t window) {
    XWindowAttributes own = {};
    XGetWindowAttributes(m_state->display, static_cast<Window>(window), &own);
    return {own.width, own.height};
}

std::pair<int, int> X11Pointer::position(std::uintptr_t window) {
    int x = 0;
    int y = 0;
    Window child = None;
    XTranslateCoordinates(m_state->display, window, m_state->root, 0, 0, &x, &y, &child);
    return {x, y};
}

// The server keeps the order of what it has accepted: a mark of our own, sent now and read back, closes the
// list.
int X11Pointer::moveRequests(std::uintptr_t window) {
    State& s = *m_state;
    XEvent mark;
    std::memset(&mark, 0, sizeof(mark));
    mark.xclient.type = ClientMessage;
    mark.xclient.window = s.root;
    mark.xclient.message_type = s.mark;
    mark.xclient.format = 32;
    XSendEvent(s.display, s.root, False, SubstructureNotifyMask, &mark);
    for (;;) {
        XEvent event;
        XNextEvent(s.display, &event);
        if (event.type != ClientMessage) {
            continue;
        }
        if (event.xclient.message_type == s.mark) {
            break;
        }
        if (event.xclient.message_type == s.move_resize) {
            s.requests.push_back(event.xclient);
        }
    }
    int count = 0;
    for (const XClientMessageEvent& request : s.requests) {
        constexpr long kMove = 8;
        if (request.window == window && request.data.l[2] == kMove) {
            ++count;
            s.last_button = request.data.l[3];
        }
    }
    return count;
}

long X11Pointer::lastButton() const { return m_state->last_button; }
