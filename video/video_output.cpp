#include "video/video_output.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <cstdio>
#include <cstring>

#include "platform/graphics.h"

namespace video_output {

namespace {

constexpr int kFontSize = 30;
TTF_Font* g_font = nullptr;

void setHints() {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    // With a foreign window SDL drops the stick's input entirely without it.
    SDL_SetHint(SDL_HINT_JOYSTICK_ALLOW_BACKGROUND_EVENTS, "1");
    // Else a window's memory goes through OpenGL behind our back.
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    if (platform::graphicsDeviceSeen()) {
        SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, "1");
    }
}

bool rendersInSoftware(SDL_Renderer* renderer) {
    SDL_RendererInfo info;
    if (SDL_GetRendererInfo(renderer, &info) != 0) {
        return false;
    }
    if (std::strncmp(info.name, "opengl", 6) != 0) {
        return (info.flags & SDL_RENDERER_SOFTWARE) != 0;
    }
    using GetString = const unsigned char* (*)(unsigned int);
    const auto get_string = reinterpret_cast<GetString>(SDL_GL_GetProcAddress("glGetString"));
    constexpr unsigned int kGlRenderer = 0x1F01;
    const auto* name =
        get_string != nullptr ? reinterpret_cast<const char*>(get_string(kGlRenderer)) : nullptr;
    if (name == nullptr) {
        return false;
    }
    for (const char* software : {"llvmpipe", "softpipe", "swrast", "Software"}) {
        if (std::strstr(name, software) != nullptr) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool init(const QString& font_path) {
    static bool done = false;
    if (done) {
        return g_font != nullptr;
    }
    done = true;
    setHints();
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        std::printf("Could not initialize SDL - %s\n", SDL_GetError());
    }
    if (TTF_Init() < 0) {
        return false;
    }
    g_font = TTF_OpenFont(font_path.toUtf8().constData(), kFontSize);
    if (g_font == nullptr) {
        return false;
    }
    TTF_SetFontStyle(g_font, TTF_STYLE_NORMAL);
    TTF_SetFontOutline(g_font, 0);
    TTF_SetFontKerning(g_font, 1);
    TTF_SetFontHinting(g_font, TTF_HINTING_NORMAL);
    return true;
}

TTF_Font* font() { return g_font; }

SDL_Window* wrapWindow(quintptr native_id) {
    SDL_Window* window = SDL_CreateWindowFrom(reinterpret_cast<const void*>(native_id));
    if (window == nullptr) {
        return nullptr;
    }
    platform::followWindowSize(window);
    SDL_ShowWindow(window);
    return window;
}

SDL_Renderer* makeRenderer(SDL_Window* window) {
    static bool has_device = platform::graphicsDeviceSeen();
    SDL_Renderer* renderer = has_device ? SDL_CreateRenderer(window, -1, 0) : nullptr;
    if (renderer != nullptr && rendersInSoftware(renderer)) {
        has_device = false;
        SDL_DestroyRenderer(renderer);
        renderer = nullptr;
    }
    if (renderer != nullptr) {
        SDL_SetRenderDrawColor(renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
    }
    releaseContext(window);
    return renderer;
}

SDL_Surface* pixelsOf(SDL_Window* window) { return SDL_GetWindowSurface(window); }

void show(SDL_Window* window) { SDL_UpdateWindowSurface(window); }

void destroy(SDL_Renderer* renderer, SDL_Window* window) {
    if (renderer != nullptr) {
        SDL_DestroyRenderer(renderer);
    }
    if (window != nullptr) {
        SDL_DestroyWindow(window);
    }
}

void catchUp() {
    SDL_PumpEvents();
    // Nobody reads these; the stick is polled, not taken from the queue.
    SDL_FlushEvents(SDL_WINDOWEVENT, SDL_SYSWMEVENT);
    SDL_FlushEvents(SDL_KEYDOWN, SDL_MOUSEWHEEL);
}

void resizeWindow(SDL_Window* window, int width, int height) {
    // On X11 SDL would also move the window, to where it first saw it; there the structure events tell the
    // size.
    if (std::strcmp(SDL_GetCurrentVideoDriver(), "x11") != 0) {
        SDL_SetWindowSize(window, width, height);
    }
}

void releaseContext(SDL_Window* window) {
    if (SDL_GL_GetCurrentContext() != nullptr) {
        SDL_GL_MakeCurrent(window, nullptr);
    }
}

}  // namespace video_output
