#include "earth/relief.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace earth {
namespace {

constexpr int kSeaBelow = 98;     // grey; 100 is the shore
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

// Weights of the four coarse pixels around a place, from its distance to the second of them.
void tentWeights(float part, float* weights) {
    float sum = 0;
    for (int i = 0; i < 4; ++i) {
        const float distance = std::fabs(part - static_cast<float>(i - 1));
        weights[i] = std::max(0.0F, 2 - distance) * std::max(0.0F, 2 - distance);
        sum += weights[i];
    }
    for (int i = 0; i < 4; ++i) {
        weights[i] /= sum;
    }
}

struct Colour {
    float red = 0, green = 0, blue = 0;
};

// The mean around a place of the coarse picture of those pixels that are of one kind.
Colour meanOfKind(const Picture& coarse, const Band<float>& land, float x, float y, bool is_land) {
    const int x0 = static_cast<int>(std::floor(x)), y0 = static_cast<int>(std::floor(y));
    float across[4], down[4];
    tentWeights(x - static_cast<float>(x0), across);
    tentWeights(y - static_cast<float>(y0), down);
    Colour mean;
    float total = 0;
    for (int j = 0; j < 4; ++j) {
        const int row = std::clamp(y0 + j - 1, 0, land.height - 1);
        for (int i = 0; i < 4; ++i) {
            const int column = (x0 + i - 1 + land.width) % land.width;
            const float share = land.at(column, row);
            const float alike = is_land ? share : 1 - share;
            // Where there are none of its kind, the others have to do.
            const float weight = across[i] * down[j] * (alike * alike * alike + 1e-3F);
            mean.red += weight * coarse[0].at(column, row);
            mean.green += weight * coarse[1].at(column, row);
            mean.blue += weight * coarse[2].at(column, row);
            total += weight;
        }
    }
    return {mean.red / total, mean.green / total, mean.blue / total};
}

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
    const float step_x = static_cast<float>(coarse[0].width) / static_cast<float>(grey.width);
    const float step_y = static_cast<float>(coarse[0].height) / static_cast<float>(grey.height);
    for (int y = 0; y < grey.height; ++y) {
        for (int x = 0; x < grey.width; ++x) {
            const Colour c =
                meanOfKind(coarse, land, (static_cast<float>(x) + 0.5F) * step_x - 0.5F,
                           (static_cast<float>(y) + 0.5F) * step_y - 0.5F, grey.at(x, y) >= kSeaBelow);
            out[0].at(x, y) = static_cast<std::uint8_t>(c.red + 0.5F);
            out[1].at(x, y) = static_cast<std::uint8_t>(c.green + 0.5F);
            out[2].at(x, y) = static_cast<std::uint8_t>(c.blue + 0.5F);
        }
    }
    return out;
}

}  // namespace earth
