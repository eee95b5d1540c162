#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "simulator/world/scene.h"
#include "simulator/world/terrain.h"

namespace podsim {
namespace {

constexpr double kCloudHeight = 1700;   // above the camera, metres
constexpr double kCloudPeriod = 5200;   // metres, of the clouds in the sky
constexpr double kShadowPeriod = 3300;  // metres, of their shadows on the ground
constexpr double kWindMps = 6;

// Positions in a texture as fractions of its period in 32 bits: they wrap by themselves.
std::uint32_t fraction(double position, double period) {
    const double f = position / period;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>((f - std::floor(f)) * 4294967296.0));
}
std::int32_t stepFraction(double step, double period) {
    return static_cast<std::int32_t>(std::clamp(step / period, -0.49, 0.49) * 4294967296.0);
}

struct Walk {
    std::uint32_t u, v;
    std::int32_t du, dv;
    Walk(const Vec3& start, const Vec3& step, double period)
        : u(fraction(start.x, period)),
          v(fraction(start.y, period)),
          du(stepFraction(step.x, period)),
          dv(stepFraction(step.y, period)) {}
};

// n samples along a walk, interpolated between four texels.
void sampleSmooth(const std::uint8_t* texels, int log2, Walk w, int n, std::uint8_t* out) {
    const std::uint32_t mask = (1U << log2) - 1;
    const int whole = 32 - log2, part = 24 - log2;
    for (int i = 0; i < n;
         ++i, w.u += static_cast<std::uint32_t>(w.du), w.v += static_cast<std::uint32_t>(w.dv)) {
        const std::uint32_t x = w.u >> whole, y = w.v >> whole;
        const std::uint32_t x1 = (x + 1) & mask;
        const int fx = static_cast<int>(w.u >> part & 255), fy = static_cast<int>(w.v >> part & 255);
        const std::uint8_t* a = texels + (static_cast<std::size_t>(y) << log2);
        const std::uint8_t* b = texels + (static_cast<std::size_t>((y + 1) & mask) << log2);
        const int top = (a[x] << 8) + (a[x1] - a[x]) * fx;
        const int low = (b[x] << 8) + (b[x1] - b[x]) * fx;
        out[i] = static_cast<std::uint8_t>(((top << 8) + (low - top) * fy) >> 16);
    }
}

// Adds grain finer than the texture holds; weight in 1/256 of the noise.
void addDetail(const std::uint8_t* noise, Walk w, int n, int weight, std::uint8_t* line) {
    for (int i = 0; i < n;
         ++i, w.u += static_cast<std::uint32_t>(w.du), w.v += static_cast<std::uint32_t>(w.dv)) {
        const int grain = noise[((w.v >> 24) << 8) | (w.u >> 24)] - 128;
        line[i] = static_cast<std::uint8_t>(std::clamp(line[i] + (grain * weight >> 8), 0, 255));
    }
}

// line = line * gain + (1 - clear) * haze with a gain that falls under the shadows of clouds.
void shade(std::uint8_t* line, int n, int clear, int haze, const std::uint8_t* clouds, Walk shadow) {
    constexpr int kBlock = 8;
    const int offset = haze * (256 - clear);
    for (int i = 0; i < n; i += kBlock) {
        std::uint8_t cover = 0;
        if (clouds) {
            sampleSmooth(clouds, 8, shadow, 1, &cover);
        }
        const int gain = clear * (256 - std::clamp((cover - 132) * 3, 0, 76)) >> 8;
        const int end = std::min(n, i + kBlock);
        for (int k = i; k < end; ++k) {
            line[k] = static_cast<std::uint8_t>((line[k] * gain + offset) >> 8);
        }
        shadow.u += static_cast<std::uint32_t>(shadow.du * kBlock);
        shadow.v += static_cast<std::uint32_t>(shadow.dv * kBlock);
    }
}

void fade(std::uint8_t* line, int n, int clear, int haze) {
    const int offset = haze * (256 - clear);
    for (int i = 0; i < n; ++i) {
        line[i] = static_cast<std::uint8_t>((line[i] * clear + offset) >> 8);
    }
}

int levelFor(const Texture& texture, double footprint_m) {
    const double texel = kPeriod / (1 << texture.log2);
    const int level = static_cast<int>(std::floor(std::log2(std::max(footprint_m / texel, 1e-3)) + 0.6));
    return std::clamp(level, 0, texture.log2 - 1);  // a walk needs two texels a side
}

// One row of ground. pixels of the row are spaced step along the ground from start.
struct GroundRow {
    Vec3 start, step;
    double distance_m, footprint_m;
};

bool groundRow(const Scene& scene, double row, double scale, GroundRow& out) {
    const Camera& c = scene.camera;
    const Vec3 left = c.ray(0.5 * scale, row);
    if (left.z > -1e-6) {
        return false;
    }
    const double k = c.position.z / -left.z;
    const Vec3 middle = c.ray(c.centre_x, row);
    out.distance_m = k * length(middle);
    if (out.distance_m > 30000) {
        return false;
    }
    out.start = c.position + left * k;
    out.step = c.right * (k / c.focal_px * scale);
    const double across = k / c.focal_px * scale;
    const double along = across * length(middle) / std::max(0.02, -middle.z / length(middle));
    out.footprint_m = std::sqrt(across * std::min(along, across * 12));
    return true;
}

Walk shadowWalk(const Scene& scene, const GroundRow& g) {
    Vec3 start = g.start;
    start.x += kWindMps * scene.time_s;
    return {start, g.step, kShadowPeriod};
}

void drawGroundLuma(const Scene& scene, int row, const GroundRow& g) {
    const Terrain& t = Terrain::instance();
    const Texture& texture = scene.infrared ? t.infrared : t.luma;
    std::uint8_t* line = scene.canvas.y + static_cast<std::ptrdiff_t>(row) * scene.canvas.y_stride;
    const int level = levelFor(texture, g.footprint_m);
    const int n = scene.canvas.width;
    sampleSmooth(texture.levels[static_cast<std::size_t>(level)].data(), texture.log2 - level,
                 Walk(g.start, g.step, kPeriod), n, line);
    // Two sizes of grain, each shown while its dots are larger than a pixel.
    for (const double dot : {0.17, 0.031}) {
        const double pixels = dot / g.footprint_m;
        if (pixels > 1) {
            const int weight =
                static_cast<int>(std::min(1.0, (pixels - 1) * 0.8) * (scene.infrared ? 12 : 34));
            addDetail(t.noise.levels[0].data(), Walk(g.start, g.step, dot * 256), n, weight, line);
        }
    }
    shade(line, n, scene.clearness(g.distance_m), hazeColour(scene.infrared).y,
          scene.infrared || scene.only_lasting ? nullptr : t.noise.levels[0].data(), shadowWalk(scene, g));
}

void drawGroundChroma(const Scene& scene, int row, const GroundRow& g) {
    const Terrain& t = Terrain::instance();
    const Canvas& c = scene.canvas;
    const int n = c.width / 2;
    const int level = levelFor(t.u, g.footprint_m * 0.7);
    const int clear = scene.clearness(g.distance_m);
    const Colour haze = hazeColour(false);
    const Walk walk(g.start, g.step, kPeriod);
    std::uint8_t* u = c.u + static_cast<std::ptrdiff_t>(row) * c.c_stride;
    std::uint8_t* v = c.v + static_cast<std::ptrdiff_t>(row) * c.c_stride;
    sampleSmooth(t.u.levels[static_cast<std::size_t>(level)].data(), t.u.log2 - level, walk, n, u);
    sampleSmooth(t.v.levels[static_cast<std::size_t>(level)].data(), t.v.log2 - level, walk, n, v);
    fade(u, n, clear, haze.u);
    fade(v, n, clear, haze.v);
}

// Where a row of sky meets the layer of clouds; cover 0 near the horizon.
struct SkyRow {
    Walk walk;
    int cover;  // 0..256
    double elevation;
};

SkyRow skyRow(const Scene& scene, double row, double scale) {
    const Camera& c = scene.camera;
    const Vec3 left = c.ray(0.5 * scale, row), middle = c.ray(c.centre_x, row);
    const double elevation = std::atan2(middle.z, std::sqrt(middle.x * middle.x + middle.y * middle.y));
    const double k = kCloudHeight / std::max(left.z, 0.01);
    Vec3 start = c.position + left * k;
    start.x += kWindMps * scene.time_s;
    const int cover = static_cast<int>(256 * std::clamp((elevation - 0.03) / 0.15, 0.0, 1.0));
    return {Walk(start, c.right * (k / c.focal_px * scale), kCloudPeriod), cover, elevation};
}

void blendClouds(const SkyRow& sky, int n, int clear_sky, int cloud, const std::vector<std::uint8_t>& noise,
                 std::uint8_t* line) {
    for (int i = 0; i < n; ++i) {
        const int cover = std::clamp((noise[static_cast<std::size_t>(i)] - 118) * 3, 0, 230) * sky.cover >> 8;
        line[i] = static_cast<std::uint8_t>(clear_sky + ((cloud - clear_sky) * cover >> 8));
    }
}

void drawSkyLuma(const Scene& scene, int row, std::vector<std::uint8_t>& scratch) {
    const Texture& noise = Terrain::instance().noise;
    const SkyRow sky = skyRow(scene, row + 0.5, 1);
    const double up = std::clamp(sky.elevation / 0.6, 0.0, 1.0);
    const int haze = hazeColour(scene.infrared).y;
    const int zenith = scene.infrared ? 22 : 128;
    const int clear_sky = static_cast<int>(haze + (zenith - haze) * std::sqrt(up));
    sampleSmooth(noise.levels[0].data(), noise.log2, sky.walk, scene.canvas.width, scratch.data());
    blendClouds(sky, scene.canvas.width, clear_sky, scene.infrared ? clear_sky + 34 : 226, scratch,
                scene.canvas.y + static_cast<std::ptrdiff_t>(row) * scene.canvas.y_stride);
}

void drawSkyChroma(const Scene& scene, int row, std::vector<std::uint8_t>& scratch) {
    const Texture& noise = Terrain::instance().noise;
    const Canvas& c = scene.canvas;
    const SkyRow sky = skyRow(scene, row * 2 + 1, 2);
    const double up = std::sqrt(std::clamp(sky.elevation / 0.6, 0.0, 1.0));
    const Colour haze = hazeColour(false);
    sampleSmooth(noise.levels[0].data(), noise.log2, sky.walk, c.width / 2, scratch.data());
    blendClouds(sky, c.width / 2, static_cast<int>(haze.u + (158 - haze.u) * up), 130, scratch,
                c.u + static_cast<std::ptrdiff_t>(row) * c.c_stride);
    blendClouds(sky, c.width / 2, static_cast<int>(haze.v + (104 - haze.v) * up), 127, scratch,
                c.v + static_cast<std::ptrdiff_t>(row) * c.c_stride);
}

// The far skyline, drawn column by column over the sky.
void drawHills(const Scene& scene) {
    const Camera& c = scene.camera;
    if (c.up.z < 0.05) {
        return;
    }
    const double horizon = c.centre_y + c.focal_px * c.forward.z / c.up.z;
    if (horizon < 0 || horizon > scene.canvas.height + c.focal_px * 0.06) {
        return;
    }
    const auto& hills = Terrain::instance().hills;
    const Colour far = scene.infrared ? Colour{78, 128, 128} : Colour{146, 136, 122};
    const Colour haze = hazeColour(scene.infrared);
    for (int x = 0; x < scene.canvas.width; ++x) {
        const Vec3 d = c.ray(x + 0.5, horizon);
        double turn = std::atan2(d.x, d.y) / (2 * kPi);
        turn -= std::floor(turn);
        const double at = turn * static_cast<double>(hills.size());
        const auto i = static_cast<std::size_t>(at) % hills.size();
        const double share = at - std::floor(at);
        const double e = hills[i] * (1 - share) + hills[(i + 1) % hills.size()] * share;
        const double rise = c.focal_px * e * length(d) / c.up.z;
        const int top = static_cast<int>(std::max(0.0, horizon - rise));
        const int bottom = std::min(scene.canvas.height, static_cast<int>(horizon) + 1);
        for (int y = top; y < bottom; ++y) {
            // Paler towards the foot, where the air is thicker.
            const int share =
                static_cast<int>(256 * std::clamp((horizon - y) / std::max(1.0, rise), 0.0, 1.0));
            auto mixed = [share](int a, int b) {
                return static_cast<std::uint8_t>(b + ((a - b) * share >> 8));
            };
            scene.canvas.y[static_cast<std::ptrdiff_t>(y) * scene.canvas.y_stride + x] = mixed(far.y, haze.y);
            if (scene.canvas.u && ((x | y) & 1) == 0) {
                const auto at = static_cast<std::ptrdiff_t>(y / 2) * scene.canvas.c_stride + x / 2;
                scene.canvas.u[at] = mixed(far.u, haze.u);
                scene.canvas.v[at] = mixed(far.v, haze.v);
            }
        }
    }
}

}  // namespace

int Scene::clearness(double distance_m) const {
    return static_cast<int>(256 * std::exp(-distance_m / visibility_m));
}

Colour Scene::hazed(Colour colour, double distance_m) const {
    const int clear = clearness(distance_m);
    const Colour haze = hazeColour(infrared);
    auto mix = [clear](int a, int b) {
        return static_cast<std::uint8_t>((a * clear + b * (256 - clear)) >> 8);
    };
    return {mix(colour.y, haze.y), mix(colour.u, haze.u), mix(colour.v, haze.v)};
}

Colour hazeColour(bool infrared) { return infrared ? Colour{96, 128, 128} : Colour{196, 133, 124}; }

void drawGroundAndSky(const Scene& scene) {
    std::vector<std::uint8_t> scratch(static_cast<std::size_t>(scene.canvas.width));
    GroundRow ground;
    for (int row = 0; row < scene.canvas.height; ++row) {
        if (groundRow(scene, row + 0.5, 1, ground)) {
            drawGroundLuma(scene, row, ground);
        } else {
            drawSkyLuma(scene, row, scratch);
        }
    }
    for (int row = 0; scene.canvas.u && row < scene.canvas.height / 2; ++row) {
        if (groundRow(scene, row * 2 + 1, 2, ground)) {
            drawGroundChroma(scene, row, ground);
        } else {
            drawSkyChroma(scene, row, scratch);
        }
    }
    drawHills(scene);
}

}  // namespace podsim
