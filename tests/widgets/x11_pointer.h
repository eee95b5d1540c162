// The pointer and the keyboard of the test's display, used as an operator would, and the requests that reach
// its window manager. It is a program of its own to the server. Kept apart from Qt's headers: the macros of
// X11 and Qt's names do not go together.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

class X11Pointer {
public:
    X11Pointer();
    ~X11Pointer();
    X11Pointer(const X11Pointer&) = delete;
    X11Pointer& operator=(const X11Pointer&) = delete;

    bool available() const;
    void moveTo(int x, int y);
    void press(int button);
    void release(int button);
    // By the name of the key, "space" or "Escape". False for a name without a key.
    bool keyPress(const char* name);
    bool keyRelease(const char* name);

    // Takes the pointer, so that buttons and moves reach no other program. False while another one holds it.
    bool takeGrab();
    void dropGrab();
    // Takes the keyboard focus to a window of its own, as another application does that is activated.
    void takeFocus();

    // Where the window lies on the screen, in the server's pixels. A window manager tells the window itself
    // only at the end of a move.
    std::pair<int, int> position(std::uintptr_t window);
    std::pair<int, int> size(std::uintptr_t window);

    // Requests to move `window` by the pointer that the window manager has been sent since the construction,
    // up to now.
    int moveRequests(std::uintptr_t window);
    // The button named in the last of them.
    long lastButton() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
