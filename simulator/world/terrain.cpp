#include "simulator/world/terrain.h"

#include <algorithm>
#include <cmath>

#include "simulator/world/world.h"

namespace podsim {
namespace {

constexpr int kFine = 4096;    // luma texels a side
constexpr int kCoarse = 2048;  // texels a side of the other textures
constexpr double kFineM = kPeriod / kFine;
constexpr double kCoarseM = kPeriod / kCoarse;

struct Material {
    std::uint8_t y, u, v, infrared;
    std::uint8_t noise;    // amplitude of the mottling
    std::uint8_t stripes;  // amplitude of the crop rows
    float row_m;           // distance of the crop rows
};
constexpr Material kFields[] = {
    {106, 108, 123, 92, 34, 0, 4},      // meadow
    {84, 108, 122, 84, 22, 7, 3.1f},    // beet
    {118, 104, 130, 100, 18, 6, 2.6f},  // young corn
    {152, 98, 140, 132, 16, 8, 3.4f},   // wheat
    {112, 117, 142, 150, 20, 9, 2.9f},  // ploughed
    {132, 108, 132, 112, 26, 5, 4.2f},  // stubble
    {92, 107, 122, 78, 28, 0, 4},       // rough pasture
    {106, 106, 122, 88, 20, 8, 3.6f},   // vegetables
};
constexpr Material kWater = {72, 137, 121, 58, 8, 0, 4};
constexpr Material kSand = {150, 116, 136, 140, 20, 0, 4};
constexpr Material kAsphalt = {104, 129, 127, 148, 10, 0, 4};
constexpr Material kVerge = {122, 118, 131, 130, 22, 0, 4};
constexpr Material kMarking = {205, 127, 128, 160, 6, 0, 4};
constexpr Material kDirt = {146, 116, 138, 158, 18, 0, 4};
constexpr Material kYard = {126, 119, 133, 138, 20, 0, 4};

std::uint8_t clampByte(int v) { return static_cast<std::uint8_t>(std::clamp(v, 0, 255)); }

std::uint32_t hash(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    return x ^ (x >> 16);
}

// Value noise in octaves, seamless at size texels.
void makeNoise(std::uint8_t* out, int size) {
    std::vector<float> sum(static_cast<std::size_t>(size) * static_cast<std::size_t>(size), 0.0f);
    float weight = 1, total = 0;
    for (int cell = size / 4; cell >= 1; cell /= 2, weight *= 0.62f) {
        const int grid = size / cell;
        auto value = [&](int i, int j) {
            const auto key = static_cast<std::uint32_t>((j % grid) * grid + i % grid) +
                             77777U * static_cast<std::uint32_t>(cell);
            return static_cast<float>(hash(key) & 0xFFFF) / 32768.0f - 1.0f;
        };
        for (int j = 0; j < size; ++j) {
            for (int i = 0; i < size; ++i) {
                float fx = static_cast<float>(i % cell) / static_cast<float>(cell);
                float fy = static_cast<float>(j % cell) / static_cast<float>(cell);
                fx = fx * fx * (3 - 2 * fx);
                fy = fy * fy * (3 - 2 * fy);
                const int a = i / cell, b = j / cell;
                const float top = value(a, b) + (value(a + 1, b) - value(a, b)) * fx;
                const float low = value(a, b + 1) + (value(a + 1, b + 1) - value(a, b + 1)) * fx;
                sum[static_cast<std::size_t>(j * size + i)] += weight * (top + (low - top) * fy);
            }
        }
        total += weight;
    }
    for (std::size_t i = 0; i < sum.size(); ++i) {
        out[i] = clampByte(static_cast<int>(128 + 230 * sum[i] / total));
    }
}

// The four textures while they are painted.
class Painter {
public:
    Painter(Texture& luma, Texture& u, Texture& v, Texture& infrared, const std::uint8_t* noise)
        : m_y(luma.base()), m_u(u.base()), m_v(v.base()), m_ir(infrared.base()), m_noise(noise) {}

    int noiseAt(int i, int j) const { return m_noise[(j & 255) * 256 + (i & 255)] - 128; }

    // The same eight times as large, without steps.
    int smoothNoiseAt(int i, int j) const {
        const int fx = i & 7, fy = j & 7;
        const int top = noiseAt(i >> 3, j >> 3) * (8 - fx) + noiseAt((i >> 3) + 1, j >> 3) * fx;
        const int low = noiseAt(i >> 3, (j >> 3) + 1) * (8 - fx) + noiseAt((i >> 3) + 1, (j >> 3) + 1) * fx;
        return (top * (8 - fy) + low * fy) / 64;
    }

    void setCoarse(int i, int j, const Material& m, int shade) {
        const std::size_t at = static_cast<std::size_t>(j) * kCoarse + static_cast<std::size_t>(i);
        m_u[at] = m.u;
        m_v[at] = m.v;
        m_ir[at] = clampByte(m.infrared + shade / 2);
    }

    // One texel of the fine texture; i and j wrap. strength of 256 is opaque.
    void set(int i, int j, const Material& m, int strength = 256) {
        i &= kFine - 1;
        j &= kFine - 1;
        const int shade = noiseAt(i, j) * m.noise >> 7;
        std::uint8_t& y = m_y[static_cast<std::size_t>(j) * kFine + static_cast<std::size_t>(i)];
        y = clampByte(y + ((m.y + shade - y) * strength >> 8));
        if (((i | j) & 1) == 0 && strength > 128) {
            setCoarse(i / 2, j / 2, m, shade);
        }
    }

    // Multiplies the brightness, for shadows; factor in 1/256.
    void darken(int i, int j, int factor) {
        i &= kFine - 1;
        j &= kFine - 1;
        std::uint8_t& y = m_y[static_cast<std::size_t>(j) * kFine + static_cast<std::size_t>(i)];
        y = static_cast<std::uint8_t>(y * factor >> 8);
        if (((i | j) & 1) == 0) {
            std::uint8_t& ir =
                m_ir[static_cast<std::size_t>(j / 2) * kCoarse + static_cast<std::size_t>(i / 2)];
            ir = static_cast<std::uint8_t>(ir * (512 + factor) / 768);
        }
    }

    void coarsePixel(std::vector<std::uint8_t>& half, int i, int j, const Material& m, int shade) {
        half[static_cast<std::size_t>(j) * kCoarse + static_cast<std::size_t>(i)] = clampByte(m.y + shade);
        setCoarse(i, j, m, shade);
    }

    // The coarse brightness doubled in size, with grain of its own.
    void upsample(const std::vector<std::uint8_t>& half) {
        for (int j = 0; j < kFine; ++j) {
            const std::uint8_t* a = &half[static_cast<std::size_t>(j / 2) * kCoarse];
            const std::uint8_t* b = &half[static_cast<std::size_t>((j + 1) / 2 % kCoarse) * kCoarse];
            const std::uint8_t* grain = &m_noise[(j * 5 & 255) * 256];
            std::uint8_t* out = m_y + static_cast<std::size_t>(j) * kFine;
            for (int i = 0; i < kFine; i += 2) {
                const int h = i / 2, next = (h + 1) & (kCoarse - 1);
                const int left = a[h] + b[h], right = a[next] + b[next];
                out[i] = clampByte(left / 2 + ((grain[(i * 3) & 255] - 128) >> 3));
                out[i + 1] = clampByte((left + right) / 4 + ((grain[(i * 3 + 97) & 255] - 128) >> 3));
            }
        }
    }

private:
    std::uint8_t* m_y;
    std::uint8_t* m_u;
    std::uint8_t* m_v;
    std::uint8_t* m_ir;
    const std::uint8_t* m_noise;
};

// Fields: cells around jittered points, each with a crop and a direction of its rows.
class FieldMap {
public:
    FieldMap() {
        for (int k = 0; k < kColumns * kRows; ++k) {
            const std::uint32_t h = hash(static_cast<std::uint32_t>(k) + 4242);
            Cell& c = m_cells[static_cast<std::size_t>(k)];
            c.x = (static_cast<float>(k % kColumns) + 0.15f + 0.7f * static_cast<float>(h & 255) / 255) *
                  kCellX;
            c.y = (static_cast<float>(k / kColumns) + 0.15f + 0.7f * static_cast<float>(h >> 8 & 255) / 255) *
                  kCellY;
            c.material = static_cast<int>((h >> 16) % std::size(kFields));
            // Around the village the cattle graze.
            const double to_village = std::hypot(nearImage(c.x, 0) + 34, nearImage(c.y, 0));
            if (to_village < 160) {
                c.material = h >> 16 & 1 ? 0 : 6;
            }
            const float angle = static_cast<float>(h >> 24) / 255 * 0.5f + (h & 1 ? 1.57f : 0) - 0.25f;
            const float scale = 256 / kFields[c.material].row_m * static_cast<float>(kCoarseM);
            c.row_u = static_cast<int>(256 * scale * std::cos(angle)) / 256.0f;
            c.row_v = static_cast<int>(256 * scale * std::sin(angle)) / 256.0f;
            c.tone = static_cast<int>(h >> 20 & 15) - 8;
        }
    }

    void paint(Painter& painter, std::vector<std::uint8_t>& half) {
        std::array<int, 256> wave;
        for (int i = 0; i < 256; ++i) {
            wave[static_cast<std::size_t>(i)] = static_cast<int>(127 * std::sin(2 * kPi * i / 256));
        }
        for (int j = 0; j < kCoarse; ++j) {
            for (int i = 0; i < kCoarse; ++i) {
                float border = 0;
                const Cell& c =
                    nearest(static_cast<float>(i * kCoarseM), static_cast<float>(j * kCoarseM), border);
                const int grain = painter.noiseAt(i, j);
                const Material& m =
                    border + static_cast<float>(grain) / 160 < 1.5f ? kHedge : kFields[c.material];
                const int phase =
                    static_cast<int>(static_cast<float>(i) * c.row_u + static_cast<float>(j) * c.row_v) & 255;
                const int shade = c.tone + (grain * m.noise >> 7) + (painter.smoothNoiseAt(i, j) * 22 >> 7) +
                                  (wave[static_cast<std::size_t>(phase)] * m.stripes >> 7);
                painter.coarsePixel(half, i, j, m, shade);
            }
        }
    }

private:
    // Longer east to west than north to south, as fields are; distances are scaled to the same shape.
    static constexpr int kColumns = 12, kRows = 16;
    static constexpr float kCellX = static_cast<float>(kPeriod) / kColumns,
                           kCellY = static_cast<float>(kPeriod) / kRows;
    static constexpr Material kHedge = {66, 112, 122, 70, 26, 0, 4};
    struct Cell {
        float x, y, row_u, row_v;
        int material, tone;
    };

    const Cell& nearest(float x, float y, float& border) const {
        const int ci = static_cast<int>(x / kCellX), cj = static_cast<int>(y / kCellY);
        float best = 1e9f, second = 1e9f;
        const Cell* found = nullptr;
        for (int b = -1; b <= 1; ++b) {
            for (int a = -1; a <= 1; ++a) {
                const int wi = (ci + a + kColumns) % kColumns, wj = (cj + b + kRows) % kRows;
                const Cell& c = m_cells[static_cast<std::size_t>(wj * kColumns + wi)];
                const float dx = (c.x + static_cast<float>(ci + a - wi) * kCellX - x) * (kCellY / kCellX);
                const float dy = c.y + static_cast<float>(cj + b - wj) * kCellY - y;
                const float d = dx * dx + dy * dy;
                if (d < best) {
                    second = best;
                    best = d;
                    found = &c;
                } else if (d < second) {
                    second = d;
                }
            }
        }
        border = std::sqrt(second) - std::sqrt(best);
        return *found;
    }

    std::array<Cell, kColumns * kRows> m_cells{};
};

constexpr Material FieldMap::kHedge;

// Calls paint(texel across, texel along, distance from the centre line) for the strip around a line.
template <class Line, class Paint>
void alongLine(Line line, double reach_m, Paint paint) {
    for (int s = 0; s < kFine; ++s) {
        const double along = (s + 0.5) * kFineM;
        const double centre = line(along);
        const double slope = line(along + 0.5) - line(along - 0.5);
        const double squeeze = 1 / std::sqrt(1 + slope * slope);
        const int from = static_cast<int>(std::floor((centre - reach_m / squeeze) / kFineM));
        const int to = static_cast<int>(std::ceil((centre + reach_m / squeeze) / kFineM));
        for (int c = from; c <= to; ++c) {
            paint(c, s, ((c + 0.5) * kFineM - centre) * squeeze);
        }
    }
}

bool dash(int s, double on_m, double period_m) { return std::fmod(s * kFineM, period_m) < on_m; }

void paintRiver(Painter& p) {
    alongLine(World::riverX, 34, [&](int c, int s, double d) {
        const double half = World::riverHalfWidth((s + 0.5) * kFineM) + 0.9 * p.noiseAt(s >> 2, 9) / 128.0;
        const double inside = half - std::fabs(d);
        if (inside < -4) {
            return;
        }
        if (inside < 0.4) {
            p.set(c, s, kSand, static_cast<int>(256 * std::min(1.0, (inside + 4) / 2)));
            return;
        }
        Material water = kWater;
        // Paler over the shallows.
        water.y = static_cast<std::uint8_t>(water.y + 34 * std::exp(-inside / 2.5));
        p.set(c, s, water);
    });
}

void paintMainRoad(Painter& p) {
    alongLine(World::mainRoadY, World::kMainHalf + 3, [&](int c, int s, double d) {
        const double x = (s + 0.5) * kFineM;
        const double a = std::fabs(d);
        if (x > World::bridgeWest() && x < World::bridgeEast()) {
            return;
        }
        if (a > World::kMainHalf) {
            p.set(s, c, kVerge, static_cast<int>(256 * std::clamp((World::kMainHalf + 3 - a) / 3, 0.0, 1.0)));
        } else if (a < 0.3 || std::fabs(a - 7.0) < 0.16 || (std::fabs(a - 3.65) < 0.16 && dash(s, 4, 10))) {
            p.set(s, c, kMarking);
        } else {
            p.set(s, c, kAsphalt);
        }
    });
}

void paintCrossRoad(Painter& p) {
    alongLine(World::crossRoadX, World::kCrossHalf + 2.5, [&](int c, int s, double d) {
        const double a = std::fabs(d);
        const double y = (s + 0.5) * kFineM;
        const double junction = std::fabs(nearImage(y, 0) - World::mainRoadY(World::crossRoadX(0)));
        if (a > World::kCrossHalf) {
            p.set(c, s, kVerge,
                  static_cast<int>(256 * std::clamp((World::kCrossHalf + 2.5 - a) / 2.5, 0.0, 1.0)));
        } else if (junction > 9 && junction < 12 && std::fmod(a + 0.25, 1.2) < 0.6) {
            p.set(c, s, kMarking);  // pedestrian crossing
        } else if (junction > 12 && a < 0.14 && dash(s, 3, 7)) {
            p.set(c, s, kMarking);
        } else {
            p.set(c, s, kAsphalt);
        }
    });
}

void paintLanes(Painter& p) {
    auto strength = [](double d) {
        return static_cast<int>(256 * std::clamp((World::kLaneHalf + 1 - std::fabs(d)) / 1.2, 0.0, 1.0));
    };
    alongLine(World::northLaneY, World::kLaneHalf + 1,
              [&](int c, int s, double d) { p.set(s, c, kDirt, strength(d)); });
    alongLine(World::eastLaneX, World::kLaneHalf + 1,
              [&](int c, int s, double d) { p.set(c, s, kDirt, strength(d)); });
}

template <class Paint>
void forBox(double x, double y, double reach, Paint paint) {
    const int i0 = static_cast<int>(std::floor((x - reach) / kFineM)),
              i1 = static_cast<int>((x + reach) / kFineM) + 1;
    const int j0 = static_cast<int>(std::floor((y - reach) / kFineM)),
              j1 = static_cast<int>((y + reach) / kFineM) + 1;
    for (int j = j0; j <= j1; ++j) {
        for (int i = i0; i <= i1; ++i) {
            paint(i, j, (i + 0.5) * kFineM - x, (j + 0.5) * kFineM - y);
        }
    }
}

void paintHouse(Painter& p, const House& h) {
    const double c = std::cos(h.heading), s = std::sin(h.heading);
    const double top = h.wall + h.roof * 0.6;
    const double shadow_x = -kSunX * top / kSunTan, shadow_y = -kSunY * top / kSunTan;
    forBox(h.x, h.y, h.length / 2 + 6, [&](int i, int j, double dx, double dy) {
        const double a = std::fabs(dx * c + dy * s) - h.length / 2,
                     b = std::fabs(dy * c - dx * s) - h.width / 2;
        const double out = std::max(a, b) + p.noiseAt(i, j) / 90.0;
        if (out < 3.5) {
            p.set(i, j, kYard, static_cast<int>(200 * std::clamp((3.5 - out) / 2, 0.0, 1.0)));
        }
    });
    forBox(h.x + shadow_x / 2, h.y + shadow_y / 2, h.length / 2 + 8, [&](int i, int j, double dx, double dy) {
        // In shadow if the way to the sun meets the house.
        for (double k = -0.5; k <= 0.5; k += 0.125) {
            const double px = dx - shadow_x * k, py = dy - shadow_y * k;
            if (std::fabs(px * c + py * s) < h.length / 2 && std::fabs(py * c - px * s) < h.width / 2) {
                p.darken(i, j, 128);
                return;
            }
        }
    });
}

void paintTreeShadow(Painter& p, const Tree& t) {
    const double lift = (t.height - t.radius) * 0.55 / kSunTan;
    const double stretch = 1.25;
    forBox(t.x - kSunX * lift, t.y - kSunY * lift, t.radius * 1.4, [&](int i, int j, double dx, double dy) {
        const double a = (dx * kSunX + dy * kSunY) / stretch, b = dx * kSunY - dy * kSunX;
        const double r = std::sqrt(a * a + b * b) / t.radius + p.noiseAt(i, j) / 500.0;
        if (r < 1) {
            p.darken(i, j, 256 - static_cast<int>(126 * std::min(1.0, (1 - r) * 5)));
        }
    });
}

void paintBridgeShadow(Painter& p) {
    alongLine(World::mainRoadY, 20, [&](int c, int s, double d) {
        const double x = (s + 0.5) * kFineM;
        const double z = World::mainRoadZ(x);
        // The shadow falls to the side away from the sun.
        const double off = d + (kSunY > 0 ? 1 : -1) * std::fabs(kSunY) * z / kSunTan;
        if (z > 0.5 && std::fabs(off) < World::kMainHalf + 0.5) {
            p.darken(s, c, 150);
        }
    });
}

TreeSprite makeTree(int variant, const std::uint8_t* noise) {
    TreeSprite sprite;
    constexpr int n = 1 << TreeSprite::kLog2;
    sprite.shade[0].resize(n * n);
    sprite.alpha[0].resize(n * n);
    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < n; ++i) {
            const double x = (i + 0.5) * 2 / n - 1, y = (j + 0.5) * 2 / n - 1;
            const double angle = std::atan2(y, x);
            const double lobes =
                0.05 * std::sin(5 * angle + variant * 2) + 0.04 * std::sin(9 * angle + variant);
            const int grain =
                noise[((j * 2 + variant * 40) & 255) * 256 + ((i * 2 + variant * 70) & 255)] - 128;
            const int clump =
                noise[((j / 2 + variant * 90) & 255) * 256 + ((i / 2 + variant * 30) & 255)] - 128;
            const double r = std::sqrt(x * x + y * y) + lobes + clump / 900.0;
            // Light from the upper left, as a ball of leaves.
            const double light = 128 - 46 * (x * 0.55 + y * 0.85) + clump * 0.32 + grain * 0.22 - 22 * r * r;
            const auto at = static_cast<std::size_t>(j * n + i);
            sprite.shade[0][at] = clampByte(static_cast<int>(light));
            sprite.alpha[0][at] = clampByte(static_cast<int>((0.94 - r) * 1500));
        }
    }
    for (std::size_t level = 1; level <= TreeSprite::kLog2; ++level) {
        const int w = n >> level, above = w * 2;
        for (auto* planes : {&sprite.shade, &sprite.alpha}) {
            auto& out = (*planes)[level];
            const auto& in = (*planes)[level - 1];
            out.resize(static_cast<std::size_t>(w * w));
            for (int j = 0; j < w; ++j) {
                for (int i = 0; i < w; ++i) {
                    const auto at = static_cast<std::size_t>(2 * j * above + 2 * i);
                    const auto below = at + static_cast<std::size_t>(above);
                    out[static_cast<std::size_t>(j * w + i)] =
                        static_cast<std::uint8_t>((in[at] + in[at + 1] + in[below] + in[below + 1] + 2) / 4);
                }
            }
        }
    }
    return sprite;
}

}  // namespace

void Texture::create(int log2_size) {
    log2 = log2_size;
    levels.assign(1, std::vector<std::uint8_t>(std::size_t{1} << (2 * log2_size)));
}

void Texture::buildMips() {
    for (int level = 1; level <= log2; ++level) {
        const std::size_t w = std::size_t{1} << (log2 - level);
        const auto& in = levels.back();
        std::vector<std::uint8_t> out(w * w);
        for (std::size_t j = 0; j < w; ++j) {
            const std::uint8_t* a = &in[2 * j * 2 * w];
            const std::uint8_t* b = a + 2 * w;
            for (std::size_t i = 0; i < w; ++i) {
                out[j * w + i] =
                    static_cast<std::uint8_t>((a[2 * i] + a[2 * i + 1] + b[2 * i] + b[2 * i + 1] + 2) >> 2);
            }
        }
        levels.push_back(std::move(out));
    }
}

const Terrain& Terrain::instance() {
    static const Terrain terrain;
    return terrain;
}

Terrain::Terrain() {
    noise.create(8);
    makeNoise(noise.base(), 256);
    luma.create(12);
    u.create(11);
    v.create(11);
    infrared.create(11);
    Painter painter(luma, u, v, infrared, noise.base());
    std::vector<std::uint8_t> half(std::size_t{kCoarse} * kCoarse);
    FieldMap().paint(painter, half);
    painter.upsample(half);
    paintRiver(painter);
    paintLanes(painter);
    paintCrossRoad(painter);
    paintMainRoad(painter);
    const World& world = World::instance();
    for (const House& h : world.houses()) {
        paintHouse(painter, h);
    }
    paintBridgeShadow(painter);
    for (const Tree& t : world.trees()) {
        paintTreeShadow(painter, t);
    }
    for (Texture* t : {&luma, &u, &v, &infrared, &noise}) {
        t->buildMips();
    }
    for (int i = 0; i < 4; ++i) {
        trees[static_cast<std::size_t>(i)] = makeTree(i, noise.base());
    }
    for (std::size_t i = 0; i < hills.size(); ++i) {
        const double a = 2 * kPi * static_cast<double>(i) / static_cast<double>(hills.size());
        const double shape = 0.5 + 0.32 * std::sin(3 * a + 1) + 0.22 * std::sin(7 * a + 2) +
                             0.1 * std::sin(19 * a) + 0.05 * std::sin(53 * a + 1) + 0.02 * std::sin(131 * a);
        hills[i] = static_cast<float>(std::max(0.0, shape) * 1.5 * kDeg);
    }
}

}  // namespace podsim
