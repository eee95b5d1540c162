// Drawing into planes of a picture: convex polygons with smooth edges, lines, text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace podsim {

struct Colour {
    std::uint8_t y, u, v;
};

// Planar 8-bit 4:2:0 picture, limited range (black 16, white 235), BT.601. width and height are even; the
// planes have no padding: y is width x height, u and v are width/2 x height/2.
struct I420Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> y, u, v;
    void resize(int w, int h);
};

// A rectangle of a picture to draw in; coordinates are those of the rectangle, outside is clipped. u and v
// may be null: then brightness alone is drawn. x and y of its origin in the picture are even.
struct Canvas {
    std::uint8_t* y;
    std::uint8_t* u;
    std::uint8_t* v;
    int y_stride, c_stride;
    int width, height;
};

struct Point {
    double x, y;
};

// opacity 0..256. At most 16 points, either winding.
void fillConvex(const Canvas& canvas, const Point* points, int n, Colour colour, int opacity = 256);
void fillRect(const Canvas& canvas, int x, int y, int width, int height, Colour colour, int opacity = 256);
// The outline of a rectangle, thickness inward.
void frameRect(const Canvas& canvas, int x, int y, int width, int height, int thickness, Colour colour);
void drawLine(const Canvas& canvas, Point a, Point b, double thickness, Colour colour, int opacity = 256);

// Text in the built-in face of 5 x 7 dots, each scale x scale pixels, 6 dots apart, with a dark rim; y is its
// top. Small letters show as capitals; a byte that has no sign shows as a small block.
void drawText(const Canvas& canvas, int x, int y, const char* text, int scale, Colour colour);
int textWidth(const char* text, int scale);

}  // namespace podsim
