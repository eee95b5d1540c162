// What one window needs to draw pictures, kept from picture to picture: at the size of a screen the scaler's
// tables and the texture cost more than the decoding.
#pragma once

#include <array>
#include <memory>

#include "video/picture_geometry.h"

struct AVFrame;
struct SDL_Renderer;
struct SDL_Surface;
struct SDL_Texture;
struct SwsContext;

// GUI thread. A renderer's textures end with it: clear() before the renderer is destroyed.
class PictureTexture {
public:
    PictureTexture();
    ~PictureTexture();
    PictureTexture(const PictureTexture&) = delete;
    PictureTexture& operator=(const PictureTexture&) = delete;

    // Scales the picture to `place`, as planar YUV 4:2:0, and draws it on a target of width x height pixels,
    // black around it. False, with nothing drawn, for a format that cannot be scaled, an empty place, or
    // without memory.
    bool draw(SDL_Renderer* renderer, const AVFrame& picture, const sorvane::PictureRect& place, int width,
              int height);
    // The same in memory: what SDL's software renderer would draw, without the copies that it makes on the
    // way. What reaches beyond the target is left out. The bars are drawn when they change: who draws over
    // them says so. The target's userdata is taken for this.
    bool draw(SDL_Surface& target, const AVFrame& picture, const sorvane::PictureRect& place, int width,
              int height);
    // The picture drawn last once more, stretched to `place`. False, with nothing drawn, when there is none.
    bool drawAgain(SDL_Renderer* renderer, const sorvane::PictureRect& place, int width, int height);
    bool drawAgain(SDL_Surface& target, const sorvane::PictureRect& place, int width, int height);
    // Something else has been drawn on the target.
    static void overdrawn(SDL_Surface& target);
    void clear();

private:
    struct Planes;

    // In m_planes; false when that cannot be.
    bool scale(const AVFrame& picture, int width, int height);
    void blackenOnce(SDL_Surface& target, const sorvane::PictureRect& place, int width, int height);
    void dropTexture();
    bool fit(SDL_Renderer* renderer, int width, int height);
    void copy(SDL_Renderer* renderer, const sorvane::PictureRect& place, int width, int height);

    std::unique_ptr<Planes> m_planes;
    SwsContext* m_scaler = nullptr;
    std::array<int, 5> m_scalerBetween{};  // width, height, format of the source; width, height of the place
    std::array<int, 6> m_blackAround{};    // the place and the target's size, as the bars were drawn last
    SDL_Renderer* m_renderer = nullptr;    // the texture's
    SDL_Texture* m_texture = nullptr;
    int m_width = 0;
    int m_height = 0;
};
