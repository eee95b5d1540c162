#include "earth/relief.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace earth {
namespace {

constexpr int kSeaBelow = 96;     // grey; lowlands reach down to 96, shallow seas up to 95
constexpr float kBlur_px = 1.3F;  // standard deviation, pixels of the relief: hides steps, keeps ranges
constexpr int kBlurReach = 4;

struct Step {
    float grey, height_m;
};
constexpr Step kSteps[] = {{100, 0},    {120, 98},   {138, 271},  {150, 492},  {162, 689},  {174, 935},
                           {186, 1476}, {198, 2239}, {210, 3247}, {222, 4330}, {234, 5560}, {255, 7500}};

std::vector<float> blurWeights() {
    std::vector<float> weights(kBlurReach + 1);
    float sum = 0;
    for (int i = 0; i <= kBlurReach; ++i) {
        weights[static_cast<std::size_t>(i)] =
            std::exp(-static_cast<float>(i * i) / (2 * kBlur_px * kBlur_px));
        sum += weights[static_cast<std::size_t>(i)] * (i == 0 ? 1.0F : 2.0F);
    }
    for (float& w : weights) {
        w /= sum;
    }
    return weights;
}

// Rows wrap around the world, columns end at the poles.
void blurRow(const float* in, float* out, int width, const std::vector<float>& weights) {
    std::vector<float> padded(static_cast<std::size_t>(width + 2 * kBlurReach));
    std::copy_n(in, width, padded.begin() + kBlurReach);
    std::copy_n(in + width - kBlurReach, kBlurReach, padded.begin());
    std::copy_n(in, kBlurReach, padded.end() - kBlurReach);
    for (int x = 0; x < width; ++x) {
        const float* at = padded.data() + x + kBlurReach;
        float sum = at[0] * weights[0];
        for (int i = 1; i <= kBlurReach; ++i) {
            sum += (at[i] + at[-i]) * weights[static_cast<std::size_t>(i)];
        }
        out[x] = sum;
    }
}

Band<float> blurred(const Band<float>& in) {
    const std::vector<float> weights = blurWeights();
    Band<float> across(in.width, in.height), out(in.width, in.height);
    for (int y = 0; y < in.height; ++y) {
        blurRow(in.row(y), across.row(y), in.width, weights);
    }
    for (int y = 0; y < in.height; ++y) {
        float* line = out.row(y);
        for (int i = -kBlurReach; i <= kBlurReach; ++i) {
            const float* source = across.row(std::clamp(y + i, 0, in.height - 1));
            const float weight = weights[static_cast<std::size_t>(std::abs(i))];
            for (int x = 0; x < in.width; ++x) {
                line[x] += source[x] * weight;
            }
        }
    }
    return out;
}

// For each pixel of the coarse picture the share of land in it, 0 to 1.
Band<float> landShares(const Band<std::uint8_t>& grey, int width, int height) {
    Band<float> shares(width, height);
    const int step_x = grey.width / width, step_y = grey.height / height;
    for (int y = 0; y < grey.height; ++y) {
        const std::uint8_t* line = grey.row(y);
        float* out = shares.row(std::min(y / step_y, height - 1));
        for (int x = 0; x < grey.width; ++x) {
            out[std::min(x / step_x, width - 1)] += line[x] >= kSeaBelow ? 1.0F : 0.0F;
        }
    }
    for (float& share : shares.values) {
        share /= static_cast<float>(step_x * step_y);
    }
    return shares;
}

// How far a coarse pixel and its neighbours are free of the other kind, 0 to 1. The neighbours count, since
// the coarse picture keeps its colours at half its resolution: along a coast they run into one another.
Band<float> purities(const Band<float>& land, bool of_land) {
    Band<float> pure(land.width, land.height);
    for (int y = 0; y < land.height; ++y) {
        for (int x = 0; x < land.width; ++x) {
            float least = 1;
            for (int j = std::max(0, y - 1); j <= std::min(land.height - 1, y + 1); ++j) {
                for (int i = x - 1; i <= x + 1; ++i) {
                    const float share = land.at((i + land.width) % land.width, j);
                    least = std::min(least, of_land ? share : 1 - share);
                }
            }
            pure.at(x, y) = least;
        }
    }
    return pure;
}

struct Colour {
    float red = 0, green = 0, blue = 0;
};

Colour mixed(const Colour& a, const Colour& b, float share) {
    return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share,
            a.blue + (b.blue - a.blue) * share};
}

// The coarse picture around places of the fine one; columns wrap around the world.
class CoarseView {
public:
    CoarseView(const Picture& picture, const Band<float>& land)
        : m_picture(picture), m_land(land), m_purity{purities(land, false), purities(land, true)} {
        for (int i = 0; i < kSpan; ++i) {
            for (int k = 0; k < kParts; ++k) {
                const float d = static_cast<float>(i - kSpan / 2 + 1) - static_cast<float>(k) / kParts;
                m_near[k][i] = std::exp(-d * d / 2);
            }
        }
    }

    // x, y: in pixels of the coarse picture, their centres at whole numbers.
    Colour colourAt(float x, float y, bool is_land) const {
        const int x0 = static_cast<int>(std::floor(x)), y0 = static_cast<int>(std::floor(y));
        const float fx = x - static_cast<float>(x0), fy = y - static_cast<float>(y0);
        for (int k = 0; k < 4; ++k) {
            if (purity(x0 + (k & 1), y0 + k / 2, is_land) < 0.99F) {
                return meanOfKind(x0, y0, fx, fy, is_land);
            }
        }
        return mixed(mixed(colour(x0, y0), colour(x0 + 1, y0), fx),
                     mixed(colour(x0, y0 + 1), colour(x0 + 1, y0 + 1), fx), fy);
    }

private:
    static constexpr int kSpan = 8;    // coarse pixels a side that are looked at along a coast
    static constexpr int kParts = 16;  // of a coarse pixel, for which the weights are known

    int column(int x) const { return (x + m_land.width) % m_land.width; }
    int row(int y) const { return std::clamp(y, 0, m_land.height - 1); }
    float purity(int x, int y, bool of_land) const { return m_purity[of_land ? 1 : 0].at(column(x), row(y)); }
    Colour colour(int x, int y) const {
        const int i = column(x), j = row(y);
        return {static_cast<float>(m_picture[0].at(i, j)), static_cast<float>(m_picture[1].at(i, j)),
                static_cast<float>(m_picture[2].at(i, j))};
    }

    // Coarse pixels count the more, the nearer they are and the less of the other kind is in them.
    Colour meanOfKind(int x0, int y0, float fx, float fy, bool is_land) const {
        const float* across = m_near[static_cast<int>(fx * kParts)];
        const float* down = m_near[static_cast<int>(fy * kParts)];
        Colour sum;
        float total = 0;
        for (int j = 0; j < kSpan; ++j) {
            for (int i = 0; i < kSpan; ++i) {
                const int x = x0 + i - kSpan / 2 + 1, y = y0 + j - kSpan / 2 + 1;
                const float land = m_land.at(column(x), row(y));
                const float alike = is_land ? land : 1 - land;
                const float pure = purity(x, y, is_land);
                // Where there is nothing pure, the next best has to do, in the end anything.
                const float weight =
                    across[i] * down[j] * (pure * pure + 1e-2F * alike * alike * alike * alike + 1e-6F);
                const Colour c = colour(x, y);
                sum.red += weight * c.red;
                sum.green += weight * c.green;
                sum.blue += weight * c.blue;
                total += weight;
            }
        }
        return {sum.red / total, sum.green / total, sum.blue / total};
    }

    const Picture& m_picture;
    const Band<float>& m_land;
    Band<float> m_purity[2];  // of sea, of land
    float m_near[kParts][kSpan];
};

}  // namespace

float heightOfGrey(float grey) {
    if (grey <= kSteps[0].grey) {
        return 0;
    }
    for (std::size_t i = 1; i < std::size(kSteps); ++i) {
        if (grey <= kSteps[i].grey) {
            const Step &a = kSteps[i - 1], &b = kSteps[i];
            return a.height_m + (b.height_m - a.height_m) * (grey - a.grey) / (b.grey - a.grey);
        }
    }
    return kSteps[std::size(kSteps) - 1].height_m;
}

Band<float> heightsOf(const Band<std::uint8_t>& grey) {
    float table[256];
    for (int g = 0; g < 256; ++g) {
        table[g] = heightOfGrey(static_cast<float>(g));
    }
    Band<float> heights(grey.width, grey.height);
    std::transform(grey.values.begin(), grey.values.end(), heights.values.begin(),
                   [&](std::uint8_t g) { return table[g]; });
    heights = blurred(heights);
    for (std::size_t i = 0; i < heights.values.size(); ++i) {
        if (grey.values[i] < kSeaBelow) {
            heights.values[i] = 0;
        }
    }
    return heights;
}

Picture sharpened(const Picture& coarse, const Band<std::uint8_t>& grey) {
    const Band<float> land = landShares(grey, coarse[0].width, coarse[0].height);
    Picture out{Band<std::uint8_t>(grey.width, grey.height), Band<std::uint8_t>(grey.width, grey.height),
                Band<std::uint8_t>(grey.width, grey.height)};
    const CoarseView view(coarse, land);
    const float step_x = static_cast<float>(coarse[0].width) / static_cast<float>(grey.width);
    const float step_y = static_cast<float>(coarse[0].height) / static_cast<float>(grey.height);
    for (int y = 0; y < grey.height; ++y) {
        for (int x = 0; x < grey.width; ++x) {
            const Colour c =
                view.colourAt((static_cast<float>(x) + 0.5F) * step_x - 0.5F,
                              (static_cast<float>(y) + 0.5F) * step_y - 0.5F, grey.at(x, y) >= kSeaBelow);
            out[0].at(x, y) = static_cast<std::uint8_t>(c.red + 0.5F);
            out[1].at(x, y) = static_cast<std::uint8_t>(c.green + 0.5F);
            out[2].at(x, y) = static_cast<std::uint8_t>(c.blue + 0.5F);
        }
    }
    return out;
}

}  // namespace earth
