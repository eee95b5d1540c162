// Makes the fine layers of the area over which the simulated pod flies, so that globe and picture show the
// same.
//   make_demo_area WORLD_RELIEF OUT_FOLDER
// The image is one period of the landscape, 0.25 m a pixel. The heights are flat in it and pass over to those
// of the world within half a period around it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "earth/raster_file.h"
#include "simulator/pod/pod.h"
#include "simulator/world/flight.h"
#include "simulator/world/survey.h"
#include "simulator/world/world.h"

namespace {

constexpr int kImage_px = 4096;
constexpr int kHeights_px = 256;  // 8 m a pixel
constexpr double kHalf_m = podsim::kPeriod / 2;

// The square around the landscape's origin, `half_m` to each side.
earth::Extent squareAround(const podsim::Flight& flight, double half_m) {
    earth::Extent e{};
    flight.toEarth(-half_m, -half_m, e.south, e.west);
    flight.toEarth(half_m, half_m, e.north, e.east);
    return e;
}

std::uint8_t byteOf(double v) { return static_cast<std::uint8_t>(std::clamp(std::lround(v), 0L, 255L)); }

// BT.601, limited range, as the pod's pictures are.
earth::Picture colourPicture(const podsim::I420Image& image) {
    const int n = image.width;
    earth::Picture picture{earth::Band<std::uint8_t>(n, n), earth::Band<std::uint8_t>(n, n),
                           earth::Band<std::uint8_t>(n, n)};
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            const auto luma_at =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(n) + static_cast<std::size_t>(x);
            const auto chroma_at = static_cast<std::size_t>(y / 2) * static_cast<std::size_t>(n / 2) +
                                   static_cast<std::size_t>(x / 2);
            const double luma = 1.164 * (image.y[luma_at] - 16);
            const double u = image.u[chroma_at] - 128.0, v = image.v[chroma_at] - 128.0;
            picture[0].at(x, y) = byteOf(luma + 1.596 * v);
            picture[1].at(x, y) = byteOf(luma - 0.392 * u - 0.813 * v);
            picture[2].at(x, y) = byteOf(luma + 2.017 * u);
        }
    }
    return picture;
}

// The world's height at a place, between four pixels.
double worldHeight(const earth::Band<float>& relief, double longitude_deg, double latitude_deg) {
    const double x = (longitude_deg + 180) / 360 * relief.width - 0.5;
    const double y = (90 - latitude_deg) / 180 * relief.height - 0.5;
    const int x0 = static_cast<int>(std::floor(x)), y0 = static_cast<int>(std::floor(y));
    const auto at = [&](int column, int row) {
        return static_cast<double>(
            relief.at((column + relief.width) % relief.width, std::clamp(row, 0, relief.height - 1)));
    };
    const double fx = x - x0, fy = y - y0;
    return (at(x0, y0) * (1 - fx) + at(x0 + 1, y0) * fx) * (1 - fy) +
           (at(x0, y0 + 1) * (1 - fx) + at(x0 + 1, y0 + 1) * fx) * fy;
}

earth::Band<float> blendedHeights(const earth::Band<float>& relief, const earth::Extent& e) {
    earth::Band<float> heights(kHeights_px, kHeights_px);
    for (int y = 0; y < kHeights_px; ++y) {
        for (int x = 0; x < kHeights_px; ++x) {
            const double right = (x + 0.5) / kHeights_px, down = (y + 0.5) / kHeights_px;
            const double outward_m =
                std::max(std::fabs(right - 0.5), std::fabs(down - 0.5)) * 4 * kHalf_m - kHalf_m;
            const double t = std::clamp(outward_m / kHalf_m, 0.0, 1.0);
            const double share = t * t * (3 - 2 * t);
            const double world =
                worldHeight(relief, e.west + (e.east - e.west) * right, e.north + (e.south - e.north) * down);
            heights.at(x, y) =
                static_cast<float>(podsim::kGroundAltitude + (world - podsim::kGroundAltitude) * share);
        }
    }
    return heights;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_demo_area WORLD_RELIEF OUT_FOLDER\n");
        return 2;
    }
    const std::string out = argv[2];
    earth::initialiseRasters();
    earth::Band<float> relief;
    if (!earth::readHeights(argv[1], relief)) {
        return 1;
    }
    const podsim::PodConfig config;
    const podsim::Flight flight(config.latitude_deg, config.longitude_deg);
    const earth::Extent wide = squareAround(flight, 2 * kHalf_m);
    return earth::writeHeights(out + "/demo_heights.tif", wide, blendedHeights(relief, wide)) &&
                   earth::writePicture(out + "/demo_area.tif", squareAround(flight, kHalf_m),
                                       colourPicture(podsim::surveyImage(kImage_px)))
               ? 0
               : 1;
}
