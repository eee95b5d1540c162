#include <SDL.h>
#include <SDL_syswm.h>

#include <filesystem>
#include <system_error>

#include "platform/graphics.h"

namespace platform {

bool graphicsDeviceSeen() {
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (fs::exists("/dev/nvidiactl", ignored)) {
        return true;
    }
    for (fs::directory_iterator node("/dev/dri", ignored), end; !ignored && node != end;
         node.increment(ignored)) {
        if (node->path().filename().string().rfind("renderD", 0) == 0) {
            return true;
        }
    }
    return false;
}

void followWindowSize(SDL_Window* window) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) == SDL_TRUE && info.subsystem == SDL_SYSWM_X11) {
        XSelectInput(info.info.x11.display, info.info.x11.window, StructureNotifyMask);
        XFlush(info.info.x11.display);
    }
}

}  // namespace platform
