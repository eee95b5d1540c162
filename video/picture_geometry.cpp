#include "video/picture_geometry.h"

#include <cstdint>

#include "base/numbers.h"

namespace sorvane {

namespace {

int truncated(float value) { return truncateToI32(static_cast<double>(value)); }

// The image coordinate along the axis that has bars; all single precision.
int alongBars(int image_extent, int point, int widget_extent, int picture_extent) {
    const float offset =
        static_cast<float>(point) - static_cast<float>(widget_extent - picture_extent) / 2.0F;
    return truncated(static_cast<float>(image_extent) * offset / static_cast<float>(picture_extent));
}

int alongFullAxis(int image_extent, int point, int widget_extent) {
    return static_cast<int>(static_cast<std::int64_t>(image_extent) * point / widget_extent);
}

// A point on a bar, the picture's first row or column included.
bool onBar(int point, int widget_extent, int picture_extent) {
    const int margin = (widget_extent - picture_extent) / 2;
    return point <= margin || point >= margin + picture_extent;
}

}  // namespace

FitSize fitPicture(int source_width, int source_height, int target_width, int target_height) {
    if (source_width <= 0 || source_height <= 0 || target_width <= 0 || target_height <= 0) {
        return {};
    }
    const float ratio = static_cast<float>(source_width) / static_cast<float>(source_height);
    const double width = target_width;
    const double height = target_height;
    if (width / height > static_cast<double>(ratio)) {
        return {height * static_cast<double>(ratio), height};
    }
    return {width, width / static_cast<double>(ratio)};
}

PictureRect placePicture(const FitSize& fit, int target_width, int target_height) {
    return {truncateToI32((target_width - fit.width) / 2.0),
            truncateToI32((target_height - fit.height) / 2.0), truncateToI32(fit.width),
            truncateToI32(fit.height)};
}

ImagePoint widgetToImage(int x, int y, int frame_width, int frame_height, int widget_width,
                         int widget_height) {
    ImagePoint result;
    if (frame_width <= 0 || frame_height <= 0 || widget_width <= 0 || widget_height <= 0) {
        return result;
    }
    const auto w = static_cast<float>(frame_width);
    const auto h = static_cast<float>(frame_height);
    const auto gw = static_cast<float>(widget_width);
    const auto gh = static_cast<float>(widget_height);
    const int picture_width = truncated(w / h * gh);
    const int picture_height = truncated(h / w * gw);
    int ix = 0;
    int iy = 0;
    if (gh / gw > h / w) {
        if (onBar(y, widget_height, picture_height)) {
            return result;
        }
        ix = alongFullAxis(frame_width, x, widget_width);
        iy = alongBars(frame_height, y, widget_height, picture_height);
    } else {
        if (onBar(x, widget_width, picture_width)) {
            return result;
        }
        ix = alongBars(frame_width, x, widget_width, picture_width);
        iy = alongFullAxis(frame_height, y, widget_height);
    }
    result.x = ix - frame_width / 2;
    result.y = frame_height / 2 - iy;
    return result;
}

YuvMatrix yuvMatrix(int colorspace, int source_height) {
    constexpr int kStatedBt709 = 1;
    constexpr int kUnstated = 2;
    if (colorspace == kStatedBt709) {
        return YuvMatrix::kBt709;
    }
    return colorspace == kUnstated && source_height > 576 ? YuvMatrix::kBt709 : YuvMatrix::kBt601;
}

}  // namespace sorvane
