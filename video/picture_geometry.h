// Where a picture lies on its widget, and which image point a widget point is.
#pragma once

namespace sorvane {

// Aspect-preserving size of a picture on a target, in target pixels; 0 x 0 when either side is empty.
struct FitSize {
    double width = 0.0;
    double height = 0.0;
};
// The ratio is a single-precision float, so that a picture of the target's own aspect may end a row short.
FitSize fitPicture(int source_width, int source_height, int target_width, int target_height);

// The fitted picture in whole target pixels, centred; every field truncated.
struct PictureRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};
PictureRect placePicture(const FitSize& fit, int target_width, int target_height);

struct ImagePoint {
    static constexpr int kOutside = 0xffffff;
    int x = kOutside;  // pixels of the encoded picture, right of its centre
    int y = kOutside;  // pixels of the encoded picture, above its centre
    bool inside() const { return x != kOutside && y != kOutside; }
};
// A widget point in a picture of frame_width x frame_height letterboxed on a widget of widget_width x
// widget_height. Outside for a point on a bar or on a bar's inner edge, and for every point when any size is
// 0 or below. The axis without bars is not tested, so a point beyond the widget on that axis converts to one
// beyond the picture.
ImagePoint widgetToImage(int x, int y, int frame_width, int frame_height, int widget_width,
                         int widget_height);

// How the planes of a picture become RGB.
enum class YuvMatrix { kBt601, kBt709 };
// `colorspace` is the stream's own statement in the numbers of ISO/IEC 23091-2 (1 BT.709, 5 and 6 BT.601);
// without a statement pictures above 576 rows are taken as BT.709.
YuvMatrix yuvMatrix(int colorspace, int source_height);

}  // namespace sorvane
