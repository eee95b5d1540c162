// A picture that moves, for encoders.
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/stream/encoder.h"

namespace podsim {

struct TestPicture {
    int width, height;
    std::vector<std::uint8_t> y, u, v;

    TestPicture(int w, int h)
        : width(w),
          height(h),
          y(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)),
          u(y.size() / 4, 128),
          v(y.size() / 4, 128) {}

    // A grey level that tells the picture's number, with a texture that moves in the lower half.
    void draw(int number) {
        for (int row = 0; row < height; ++row) {
            for (int x = 0; x < width; ++x) {
                const int value =
                    row < height / 2 ? levelOf(number) : 16 + (x * 3 + row * 5 + number * 7) % 200;
                y[static_cast<std::size_t>(row * width + x)] = static_cast<std::uint8_t>(value);
            }
        }
    }
    static int levelOf(int number) { return 40 + number * 5 % 160; }
    PictureView view() const { return {{y.data(), u.data(), v.data()}, {width, width / 2, width / 2}}; }
};

}  // namespace podsim
