#include "simulator/pod/renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "simulator/pod/osd.h"
#include "simulator/pod/palette.h"
#include "simulator/pod/views.h"
#include "simulator/world/scene.h"
#include "simulator/world/terrain.h"

namespace podsim {
namespace {

constexpr std::uint8_t kBlack = 16, kWhite = 235;

// Box blur in place along one axis: count lines of n values, step apart.
void blurLines(std::uint8_t* data, int count, int line_step, int n, int step, int radius,
               std::vector<std::uint8_t>& scratch) {
    scratch.resize(static_cast<std::size_t>(n));
    for (int k = 0; k < count; ++k) {
        std::uint8_t* line = data + static_cast<std::ptrdiff_t>(k) * line_step;
        for (int i = 0; i < n; ++i) {
            scratch[static_cast<std::size_t>(i)] = line[static_cast<std::ptrdiff_t>(i) * step];
        }
        auto at = [&](int i) {
            return static_cast<int>(scratch[static_cast<std::size_t>(std::clamp(i, 0, n - 1))]);
        };
        int sum = 0;
        for (int i = -radius; i <= radius; ++i) {
            sum += at(i);
        }
        for (int i = 0; i < n; ++i) {
            line[static_cast<std::ptrdiff_t>(i) * step] = static_cast<std::uint8_t>(sum / (2 * radius + 1));
            sum += at(i + radius + 1) - at(i - radius);
        }
    }
}

int blurRadius(double sharpness, int width) {
    return static_cast<int>(std::lround((1 - std::clamp(sharpness, 0.0, 1.0)) * width / 90));
}

// Raises the difference of each value from its neighbours; level 0 to 7.
void enhance(std::vector<std::uint8_t>& plane, int width, int height, int level) {
    const std::vector<std::uint8_t> in = plane;
    for (int y = 1; y + 1 < height; ++y) {
        for (int x = 1; x + 1 < width; ++x) {
            const auto at = static_cast<std::size_t>(y * width + x);
            const auto w = static_cast<std::size_t>(width);
            const int edge = 4 * in[at] - in[at - 1] - in[at + 1] - in[at - w] - in[at + w];
            plane[at] = static_cast<std::uint8_t>(std::clamp(in[at] + edge * level / 8, 0, 255));
        }
    }
}

void fillNumber(I420Image& out, std::uint32_t number, int left) {
    for (int k = 0; k < kNumberBlocks; ++k) {
        const bool one = (number >> (kNumberBlocks - 1 - k) & 1) != 0;
        for (int y = 0; y < kNumberBlockPx; ++y) {
            std::memset(&out.y[static_cast<std::size_t>(y * out.width + left + k * kNumberBlockPx)],
                        one ? kWhite : kBlack, kNumberBlockPx);
        }
        for (int y = 0; y < kNumberBlockPx / 2; ++y) {
            const auto at = static_cast<std::size_t>(y * out.width / 2 + left / 2 + k * kNumberBlockPx / 2);
            std::memset(&out.u[at], 128, kNumberBlockPx / 2);
            std::memset(&out.v[at], 128, kNumberBlockPx / 2);
        }
    }
}

Canvas canvasOf(I420Image& image, const View& v) {
    const int c_stride = image.width / 2;
    return {&image.y[static_cast<std::size_t>(v.y * image.width + v.x)],
            &image.u[static_cast<std::size_t>(v.y / 2 * c_stride + v.x / 2)],
            &image.v[static_cast<std::size_t>(v.y / 2 * c_stride + v.x / 2)],
            image.width,
            c_stride,
            v.width,
            v.height};
}

double visibilityOf(const Snapshot& s, bool infrared) { return infrared ? 9000 : 2600 + 2400 * s.fog_level; }

}  // namespace

struct Renderer::Impl {
    int width, height, channel;
    std::vector<std::uint8_t> heat, scratch;
    std::array<std::vector<std::uint8_t>, 2> rows;
    NumberPlace number_place = NumberPlace::kLeft;

    void visibleView(const Snapshot& s, const View& view, I420Image& out);
    void infraredView(const Snapshot& s, const View& view, I420Image& out);
    void drawHeat(const Snapshot& s, int w, int h, double fov_deg);
    void doubled(const Canvas& c, int w, int h, const std::array<Colour, 256>& table);
    void plain(const Canvas& c, const std::array<Colour, 256>& table);
};

void Renderer::Impl::visibleView(const Snapshot& s, const View& view, I420Image& out) {
    const Canvas canvas = canvasOf(out, view);
    View local = view;
    local.x = local.y = 0;
    const Scene scene = {s.time_s, canvas, cameraOf(s, local), false, visibilityOf(s, false)};
    drawGroundAndSky(scene);
    drawObjects(scene);
    const int radius = blurRadius(s.vl_focus, view.width);
    if (radius > 0) {
        blurLines(canvas.y, canvas.height, canvas.y_stride, canvas.width, 1, radius, scratch);
        blurLines(canvas.y, canvas.width, 1, canvas.height, canvas.y_stride, radius, scratch);
    }
    std::array<std::uint8_t, 256> table;
    const double gain = (s.night_mode ? 0.72 : 1.0) * (1 + 0.12 * s.vl_contrast);
    const double lift = 6.0 * s.vl_brightness + (s.vl_auto_gain ? 0 : 5.0 * s.vl_gain) -
                        (s.night_mode ? 22 : 0) + (s.night_mode && s.illuminator ? 26 : 0);
    for (int i = 0; i < 256; ++i) {
        table[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(std::clamp((i - 112) * gain + 112 + lift, 16.0, 235.0));
    }
    for (int y = 0; y < canvas.height; ++y) {
        std::uint8_t* line = canvas.y + static_cast<std::ptrdiff_t>(y) * canvas.y_stride;
        for (int x = 0; x < canvas.width; ++x) {
            line[x] = table[line[x]];
        }
    }
    for (int y = 0; s.night_mode && y < canvas.height / 2; ++y) {
        std::memset(canvas.u + static_cast<std::ptrdiff_t>(y) * canvas.c_stride, 128,
                    static_cast<std::size_t>(canvas.width / 2));
        std::memset(canvas.v + static_cast<std::ptrdiff_t>(y) * canvas.c_stride, 128,
                    static_cast<std::size_t>(canvas.width / 2));
    }
}

// The radiance of the scene at w x h into heat.
void Renderer::Impl::drawHeat(const Snapshot& s, int w, int h, double fov_deg) {
    heat.resize(static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
    const Canvas canvas = {heat.data(), nullptr, nullptr, w, 0, w, h};
    const Scene scene = {s.time_s, canvas, cameraOf(s, {true, 0, 0, w, h, fov_deg}), true,
                         visibilityOf(s, true)};
    if (s.nuc_s > 0 && s.nuc_shutter) {
        std::fill(heat.begin(), heat.end(), std::uint8_t{118});  // the shutter is closed
        return;
    }
    drawGroundAndSky(scene);
    drawObjects(scene);
    int radius = blurRadius(s.ir_focus, w);
    if (s.nuc_s > 0) {
        radius += w / 40;  // background compensation wants an even picture
    }
    if (radius > 0) {
        blurLines(heat.data(), h, w, w, 1, radius, scratch);
        blurLines(heat.data(), w, 1, h, w, radius, scratch);
    }
    if (s.ir_enhancement > 0) {
        enhance(heat, w, h, s.ir_enhancement);
    }
}

// Doubles heat into a canvas: an infrared core has about half the pixels of the picture.
void Renderer::Impl::doubled(const Canvas& c, int w, int h, const std::array<Colour, 256>& table) {
    std::array<std::uint8_t, 256> luma;
    for (std::size_t i = 0; i < 256; ++i) {
        luma[i] = table[i].y;
    }
    std::vector<std::uint8_t>& mixed = rows[0];
    mixed.resize(static_cast<std::size_t>(w) + 2);
    for (int y = 0; y < c.height; ++y) {
        const int near = std::min(y / 2, h - 1), far = std::clamp(y & 1 ? near + 1 : near - 1, 0, h - 1);
        const std::uint8_t* a = &heat[static_cast<std::size_t>(near * w)];
        const std::uint8_t* b = &heat[static_cast<std::size_t>(far * w)];
        for (int x = 0; x < w; ++x) {
            mixed[static_cast<std::size_t>(x) + 1] = static_cast<std::uint8_t>((3 * a[x] + b[x] + 2) >> 2);
        }
        mixed[0] = mixed[1];
        mixed[static_cast<std::size_t>(w) + 1] = mixed[static_cast<std::size_t>(w)];
        std::uint8_t* line = c.y + static_cast<std::ptrdiff_t>(y) * c.y_stride;
        for (int x = 0; x < w; ++x) {
            const int m = mixed[static_cast<std::size_t>(x) + 1];
            line[2 * x] =
                luma[static_cast<std::size_t>((3 * m + mixed[static_cast<std::size_t>(x)] + 2) >> 2)];
            line[2 * x + 1] =
                luma[static_cast<std::size_t>((3 * m + mixed[static_cast<std::size_t>(x) + 2] + 2) >> 2)];
        }
    }
    for (int y = 0; y < c.height / 2; ++y) {
        const std::uint8_t* a = &heat[static_cast<std::size_t>(std::min(y, h - 1) * w)];
        std::uint8_t* u = c.u + static_cast<std::ptrdiff_t>(y) * c.c_stride;
        std::uint8_t* v = c.v + static_cast<std::ptrdiff_t>(y) * c.c_stride;
        for (int x = 0; x < w; ++x) {
            u[x] = table[a[x]].u;
            v[x] = table[a[x]].v;
        }
    }
}

void Renderer::Impl::plain(const Canvas& c, const std::array<Colour, 256>& table) {
    for (int y = 0; y < c.height; ++y) {
        const std::uint8_t* in = &heat[static_cast<std::size_t>(y * c.width)];
        std::uint8_t* line = c.y + static_cast<std::ptrdiff_t>(y) * c.y_stride;
        for (int x = 0; x < c.width; ++x) {
            line[x] = table[in[x]].y;
        }
        for (int x = 0; (y & 1) == 0 && x < c.width; x += 2) {
            c.u[static_cast<std::ptrdiff_t>(y / 2) * c.c_stride + x / 2] = table[in[x]].u;
            c.v[static_cast<std::ptrdiff_t>(y / 2) * c.c_stride + x / 2] = table[in[x]].v;
        }
    }
}

void Renderer::Impl::infraredView(const Snapshot& s, const View& view, I420Image& out) {
    const std::array<Colour, 256> colours = paletteTable(s.ir_palette);
    std::array<Colour, 256> table;
    const double gain = 1.3 * (1 + 0.12 * s.ir_contrast);
    for (int i = 0; i < 256; ++i) {
        const double level = std::clamp((i - 112) * gain + 112 + 8.0 * s.ir_brightness, 0.0, 255.0);
        table[static_cast<std::size_t>(i)] = colours[static_cast<std::size_t>(level)];
    }
    const Canvas canvas = canvasOf(out, view);
    if (view.width >= 512) {
        const int w = view.width / 2, h = (view.height + 1) / 2;
        drawHeat(s, w, h, view.fov_deg);
        doubled(canvas, w, h, table);
    } else {
        drawHeat(s, view.width, view.height, view.fov_deg);
        plain(canvas, table);
    }
}

Renderer::Renderer(int width, int height, int channel)
    : m_impl(new Impl{width, height, channel, {}, {}, {}}) {
    Terrain::instance();
}

Renderer::~Renderer() = default;

void Renderer::render(const Snapshot& s, std::uint32_t frame_number, I420Image& out) {
    out.resize(m_impl->width, m_impl->height);
    const std::vector<View> views = viewsOf(s, m_impl->width, m_impl->height, m_impl->channel);
    constexpr int kInfraredBit = 1, kVisibleBit = 2;
    for (const View& view : views) {
        if ((s.module_bits & (view.infrared ? kInfraredBit : kVisibleBit)) == 0) {
            fillRect(canvasOf(out, view), 0, 0, view.width, view.height, {22, 128, 128});  // no power
        } else if (view.infrared) {
            m_impl->infraredView(s, view, out);
        } else {
            m_impl->visibleView(s, view, out);
        }
    }
    const Canvas whole = canvasOf(out, {false, 0, 0, out.width, out.height, 0});
    for (std::size_t i = 1; i < views.size(); ++i) {
        const View& v = views[i];
        if (v.width < out.width / 2) {
            frameRect(whole, v.x - 2, v.y - 2, v.width + 4, v.height + 4, 2, {210, 128, 128});
        }
    }
    drawOsd(s, views, m_impl->channel, whole);
    if (m_impl->number_place != NumberPlace::kOff) {
        const bool left = m_impl->number_place == NumberPlace::kLeft;
        fillNumber(out, frame_number, left ? 0 : (out.width - kNumberBlocks * kNumberBlockPx) / 2 * 2);
    }
}

void Renderer::setNumberPlace(NumberPlace place) { m_impl->number_place = place; }

int readFrameNumber(const std::uint8_t* y, int stride, int width, int height) {
    if (width < kNumberBlocks * kNumberBlockPx || height < kNumberBlockPx) {
        return -1;
    }
    int number = 0;
    for (int k = 0; k < kNumberBlocks; ++k) {
        const int value = y[kNumberBlockPx / 2 * stride + k * kNumberBlockPx + kNumberBlockPx / 2];
        if (value > 80 && value < 170) {
            return -1;
        }
        number = number * 2 + (value >= 170 ? 1 : 0);
    }
    return number;
}

}  // namespace podsim
