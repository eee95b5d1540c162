#include "platform/graphics.h"

namespace platform {

bool graphicsDeviceSeen() { return true; }

// The system tells a wrapped window's size at once.
void followWindowSize(SDL_Window* /*window*/) {}

}  // namespace platform
