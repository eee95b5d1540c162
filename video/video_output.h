// SDL as the station uses it: a window and renderer on a widget's native window, and one font. GUI thread
// only.
#pragma once

#include <QString>

struct SDL_Renderer;
struct SDL_Surface;
struct SDL_Window;
typedef struct _TTF_Font TTF_Font;

namespace video_output {

// SDL's video, then its text, then the font; once a process, later calls only report. A failure of SDL goes
// to the console. False when the font is not there, and with it no statistics line.
bool init(const QString& font_path);
// Null without a font.
TTF_Font* font();

// Wraps a native window; null on failure. The caller owns the result.
SDL_Window* wrapWindow(quintptr native_id);
// The driver is SDL's own choice among those of a device. Null where there is none, or only OpenGL in
// software, which is several times as slow as memory: pixelsOf() is drawn on there.
SDL_Renderer* makeRenderer(SDL_Window* window);
// What show() brings to the window, in memory and of the size that the window has now; null on failure.
// SDL's own, and gone at the next call after catchUp() has seen another size.
SDL_Surface* pixelsOf(SDL_Window* window);
void show(SDL_Window* window);
void destroy(SDL_Renderer* renderer, SDL_Window* window);

// Takes in what has happened to the wrapped windows since the last call, their sizes above all.
void catchUp();
// Tells SDL the size of a wrapped window, in logical units, where the window system does not.
void resizeWindow(SDL_Window* window, int width, int height);
// No GL context stays current: SDL believes its own to be so for ever and would draw into another view's.
void releaseContext(SDL_Window* window);

}  // namespace video_output
