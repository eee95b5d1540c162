#include "simulator/world/survey.h"

#include "simulator/world/scene.h"

namespace podsim {
namespace {

constexpr int kSheets = 8;                // a side
constexpr double kCameraHeight_m = 1000;  // high above a sheet, so that little leans
constexpr double kNoHaze_m = 1e9;

Camera cameraAbove(double east_m, double north_m, int pixels) {
    Camera c;
    c.position = {east_m, north_m, kCameraHeight_m};
    c.right = {1, 0, 0};
    c.up = {0, 1, 0};
    c.forward = {0, 0, -1};
    c.focal_px = kCameraHeight_m * pixels / (kPeriod / kSheets);
    c.centre_x = c.centre_y = pixels / 2.0;
    return c;
}

// Where a sheet lies in the planes of the whole.
Canvas sheetOf(I420Image& image, int column, int row, int pixels) {
    const int x = column * pixels, y = row * pixels, half = image.width / 2;
    const auto at = [](int line, int stride, int offset) {
        return static_cast<std::ptrdiff_t>(line) * stride + offset;
    };
    return {image.y.data() + at(y, image.width, x),
            image.u.data() + at(y / 2, half, x / 2),
            image.v.data() + at(y / 2, half, x / 2),
            image.width,
            half,
            pixels,
            pixels};
}

}  // namespace

I420Image surveyImage(int pixels) {
    I420Image image;
    image.resize(pixels, pixels);
    const int sheet_px = pixels / kSheets;
    const double sheet_m = kPeriod / kSheets;
    for (int row = 0; row < kSheets; ++row) {
        for (int column = 0; column < kSheets; ++column) {
            const double east = -kPeriod / 2 + (column + 0.5) * sheet_m;
            const double north = kPeriod / 2 - (row + 0.5) * sheet_m;
            Scene scene{0, sheetOf(image, column, row, sheet_px), cameraAbove(east, north, sheet_px), false,
                        kNoHaze_m};
            scene.only_lasting = true;
            drawGroundAndSky(scene);
            drawObjects(scene);
        }
    }
    return image;
}

}  // namespace podsim
