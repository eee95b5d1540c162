#include "simulator/world/raster.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "simulator/world/font.h"

namespace podsim {
namespace {

void mix(std::uint8_t& value, int target, int opacity) {
    value = static_cast<std::uint8_t>(value + ((target - value) * opacity >> 8));
}

// The part of a scanline inside a convex polygon.
struct Span {
    double left = 1e9, right = -1e9;
};

Span spanAt(const Point* p, int n, double y) {
    Span span;
    for (int i = 0; i < n; ++i) {
        const Point& a = p[i];
        const Point& b = p[i + 1 == n ? 0 : i + 1];
        if ((a.y <= y) == (b.y <= y)) {
            continue;
        }
        const double x = a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y);
        span.left = std::min(span.left, x);
        span.right = std::max(span.right, x);
    }
    return span;
}

// Draws one row from four scanlines; the row's edges get the share of the pixel that they cover.
void fillRow(const Canvas& c, int row, const Span (&spans)[4], Colour colour, int opacity) {
    double left = 1e9, right = -1e9, inner_left = -1e9, inner_right = 1e9;
    for (const Span& s : spans) {
        left = std::min(left, s.left);
        right = std::max(right, s.right);
        inner_left = std::max(inner_left, s.left);
        inner_right = std::min(inner_right, s.right);
    }
    left = std::max(left, 0.0);
    right = std::min(right, static_cast<double>(c.width));
    if (left >= right) {
        return;
    }
    const int from = static_cast<int>(left), to = std::min(c.width, static_cast<int>(std::ceil(right)));
    const int solid_from = static_cast<int>(std::ceil(std::clamp(inner_left, left, right)));
    const int solid_to = static_cast<int>(std::clamp(inner_right, left, right));
    std::uint8_t* y = c.y + static_cast<std::ptrdiff_t>(row) * c.y_stride;
    const bool chroma = c.u && (row & 1) == 0;
    std::uint8_t* u = chroma ? c.u + static_cast<std::ptrdiff_t>(row / 2) * c.c_stride : nullptr;
    std::uint8_t* v = chroma ? c.v + static_cast<std::ptrdiff_t>(row / 2) * c.c_stride : nullptr;
    int x = from;
    while (x < to) {
        if (x == solid_from && solid_to > x && opacity >= 256) {
            std::memset(y + x, colour.y, static_cast<std::size_t>(solid_to - x));
            if (chroma) {
                const int c0 = (x + 1) / 2, c1 = (solid_to + 1) / 2;
                std::memset(u + c0, colour.u, static_cast<std::size_t>(std::max(0, c1 - c0)));
                std::memset(v + c0, colour.v, static_cast<std::size_t>(std::max(0, c1 - c0)));
            }
            x = solid_to;
            continue;
        }
        double cover = 0;
        for (const Span& s : spans) {
            cover += std::max(0.0, std::min(s.right, x + 1.0) - std::max(s.left, static_cast<double>(x)));
        }
        const int share = static_cast<int>(cover * opacity / 4);
        mix(y[x], colour.y, share);
        if (chroma && (x & 1) == 0) {
            mix(u[x / 2], colour.u, share);
            mix(v[x / 2], colour.v, share);
        }
        ++x;
    }
}

void drawGlyph(const Canvas& c, int x, int y, unsigned char sign, int scale, Colour colour, int dx, int dy) {
    const std::uint8_t* rows = glyph(sign);
    for (int j = 0; j < kGlyphHeight; ++j) {
        for (int i = 0; i < kGlyphWidth;) {
            int run = 0;
            while (i + run < kGlyphWidth && (rows[j] >> (kGlyphWidth - 1 - i - run) & 1)) {
                ++run;
            }
            if (run > 0) {
                fillRect(c, x + i * scale + dx, y + j * scale + dy, run * scale, scale, colour);
            }
            i += run + 1;
        }
    }
}

}  // namespace

void I420Image::resize(int w, int h) {
    width = w;
    height = h;
    const auto luma = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    y.resize(luma);
    u.resize(luma / 4);
    v.resize(luma / 4);
}

void fillConvex(const Canvas& c, const Point* p, int n, Colour colour, int opacity) {
    double top = p[0].y, bottom = p[0].y, left = p[0].x, right = p[0].x;
    for (int i = 1; i < n; ++i) {
        top = std::min(top, p[i].y);
        bottom = std::max(bottom, p[i].y);
        left = std::min(left, p[i].x);
        right = std::max(right, p[i].x);
    }
    // Written so that a coordinate that is not a number draws nothing.
    if (!(top < c.height && bottom > 0 && left < c.width && right > 0)) {
        return;
    }
    const int from = static_cast<int>(std::max(0.0, top));
    const int to = static_cast<int>(std::min<double>(c.height, std::ceil(bottom)));
    for (int row = from; row < to; ++row) {
        const Span spans[4] = {spanAt(p, n, row + 0.125), spanAt(p, n, row + 0.375),
                               spanAt(p, n, row + 0.625), spanAt(p, n, row + 0.875)};
        fillRow(c, row, spans, colour, opacity);
    }
}

void fillRect(const Canvas& c, int x, int y, int width, int height, Colour colour, int opacity) {
    const int x0 = std::max(0, x), y0 = std::max(0, y);
    const int x1 = std::min(c.width, x + width), y1 = std::min(c.height, y + height);
    for (int row = y0; row < y1; ++row) {
        std::uint8_t* line = c.y + static_cast<std::ptrdiff_t>(row) * c.y_stride;
        for (int i = x0; i < x1; ++i) {
            mix(line[i], colour.y, opacity);
        }
        if (!c.u || (row & 1) != 0) {
            continue;
        }
        std::uint8_t* u = c.u + static_cast<std::ptrdiff_t>(row / 2) * c.c_stride;
        std::uint8_t* v = c.v + static_cast<std::ptrdiff_t>(row / 2) * c.c_stride;
        for (int i = (x0 + 1) / 2; i < (x1 + 1) / 2; ++i) {
            mix(u[i], colour.u, opacity);
            mix(v[i], colour.v, opacity);
        }
    }
}

void frameRect(const Canvas& c, int x, int y, int width, int height, int thickness, Colour colour) {
    const int t = std::min({thickness, width, height});
    fillRect(c, x, y, width, t, colour);
    fillRect(c, x, y + height - t, width, t, colour);
    fillRect(c, x, y + t, t, height - 2 * t, colour);
    fillRect(c, x + width - t, y + t, t, height - 2 * t, colour);
}

void drawLine(const Canvas& c, Point a, Point b, double thickness, Colour colour, int opacity) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double norm = std::sqrt(dx * dx + dy * dy);
    if (!(norm > 0)) {
        return;
    }
    const double nx = -dy / norm * thickness / 2, ny = dx / norm * thickness / 2;
    const Point quad[4] = {
        {a.x + nx, a.y + ny}, {b.x + nx, b.y + ny}, {b.x - nx, b.y - ny}, {a.x - nx, a.y - ny}};
    fillConvex(c, quad, 4, colour, opacity);
}

void drawText(const Canvas& c, int x, int y, const char* text, int scale, Colour colour) {
    constexpr Colour kRim = {24, 128, 128};
    constexpr int kAround[][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
    for (int pass = 0; pass < 2; ++pass) {
        int at = x;
        for (const char* p = text; *p; ++p, at += (kGlyphWidth + 1) * scale) {
            const auto sign = static_cast<unsigned char>(*p);
            if (pass == 1) {
                drawGlyph(c, at, y, sign, scale, colour, 0, 0);
                continue;
            }
            for (const auto& d : kAround) {
                drawGlyph(c, at, y, sign, scale, kRim, d[0], d[1]);
            }
        }
    }
}

int textWidth(const char* text, int scale) {
    const int n = static_cast<int>(std::strlen(text));
    return n > 0 ? (n * (kGlyphWidth + 1) - 1) * scale : 0;
}

}  // namespace podsim
