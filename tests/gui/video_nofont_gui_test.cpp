// A station whose font is missing: pictures as ever, no statistics line, the first surface at the first open.
#include "video/video_output.h"
#include "video_fixture.h"

class WithoutFont : public VideoTest {};

TEST_F(WithoutFont, PictureShowsAndTheStatisticsLineIsSkipped) {
    // The window's own attempt comes second and does not count.
    ASSERT_FALSE(video_output::init(QCoreApplication::applicationDirPath() + "/no-such-font.ttc"));
    start({{"common/video_display_mode", 0}, {"decode/show_fps", true}});
    foldStatusPane();
    EXPECT_EQ(in().findSurface(win1()), nullptr);
    window->OnOpenVideo1();
    ASSERT_NE(in().findSurface(win1()), nullptr);
    EXPECT_TRUE(waitFor([this] {
        deliver(640, 512, kWhite);
        QCoreApplication::processEvents();
        const QImage image = onScreen(win1());
        return isAbout(image.pixel(image.rect().center()), 255, 255, 255);
    }));
    const QImage image = onScreen(win1());
    for (int x = 0; x < qMin(300, image.width()); ++x) {
        EXPECT_LT(qGreen(image.pixel(x, 25)) - qRed(image.pixel(x, 25)), 40) << x;
    }
}
