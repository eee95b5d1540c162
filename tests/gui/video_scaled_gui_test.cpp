// A display of twice the pixels a unit of length: pictures are fitted in real pixels, gestures in the
// toolkit's units.
#include "video_fixture.h"

namespace {

// Before the toolkit starts.
const bool g_scaled = qputenv("QT_SCALE_FACTOR", "2");

class Scaled : public VideoTest {};

}  // namespace

TEST_F(Scaled, PictureFillsTheWidgetToItsLastPixel) {
    ASSERT_TRUE(g_scaled);
    start({{"common/video_display_mode", 0}, {"common/check_video_ms", 600000}});
    foldStatusPane();
    ASSERT_EQ(window->devicePixelRatioF(), 2.0);
    window->OnOpenVideo1();
    ASSERT_TRUE(in().playing1());
    const QSize real = win1()->size() * 2;
    const auto at = [](const QImage& image, double fx, double fy) {
        return image.pixel(static_cast<int>(fx * (image.width() - 1)),
                           static_cast<int>(fy * (image.height() - 1)));
    };
    EXPECT_TRUE(waitFor([&] {
        deliver(real.width(), real.height(), kWhite, kRed);
        QCoreApplication::processEvents();
        const QImage image = onScreen(win1());
        return image.size() == real && isAbout(at(image, 0.02, 0.02), 255, 0, 0) &&
               isAbout(at(image, 0.48, 0.48), 255, 0, 0) && isAbout(at(image, 0.52, 0.52), 255, 255, 255) &&
               isAbout(at(image, 0.98, 0.98), 255, 255, 255);
    }));
    EXPECT_EQ(in().frame_width(), real.width());
}
