// What the system tells about its graphics, for the presentation of pictures.
#pragma once

struct SDL_Window;

namespace platform {

// False when OpenGL can only be software: there is no device of a graphics driver. Any thread.
bool graphicsDeviceSeen();

// Makes SDL see the size changes of a window that it has only wrapped; without it SDL keeps the first size
// for ever where the window system tells sizes by events. On the thread that owns the window.
void followWindowSize(SDL_Window* window);

}  // namespace platform
