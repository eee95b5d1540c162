#include <windows.h>

#include "platform/window_move.h"

namespace platform {
namespace {

// SC_MOVE with the hit code of a caption: the drag follows the pointer at once.
constexpr WPARAM kMoveByCaption = 0xF012;

}  // namespace

void setInputConnection(void* /*display*/) {}

bool startSystemMove(std::uintptr_t native_window) {
    if (ReleaseCapture() == 0) {
        return false;
    }
    SendMessageA(reinterpret_cast<HWND>(native_window), WM_SYSCOMMAND, kMoveByCaption, 0);
    return true;
}

}  // namespace platform
