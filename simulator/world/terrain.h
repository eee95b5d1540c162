// The textures of the landscape, computed once at start. All repeat with the world's period.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace podsim {

// A square 8-bit texture of 2^log2 texels a side with all its halvings; level 0 is the full one.
struct Texture {
    int log2 = 0;
    std::vector<std::vector<std::uint8_t>> levels;

    void create(int log2_size);
    void buildMips();
    std::uint8_t* base() { return levels[0].data(); }
};

// A tree's crown from above and aside: brightness around 128 and opacity, in halvings from 128 x 128.
struct TreeSprite {
    static constexpr int kLog2 = 7;
    std::array<std::vector<std::uint8_t>, kLog2 + 1> shade, alpha;
};

struct Terrain {
    static const Terrain& instance();

    Texture luma;      // visible brightness, 4096 texels: 0.25 m
    Texture u, v;      // visible colour, 2048 texels
    Texture infrared;  // radiance, 2048 texels
    Texture noise;     // fractal noise around 128, 256 texels, for detail, clouds and their shadows
    std::array<TreeSprite, 4> trees;
    std::array<float, 2048> hills{};  // elevation of the skyline by azimuth, radians

private:
    Terrain();
};

}  // namespace podsim
