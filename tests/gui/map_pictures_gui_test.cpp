// Two globes and two running pictures on one thread, each in its own place on the screen.
#include <array>

#include "tests/map/map_scene.h"
#include "video_fixture.h"

namespace {

constexpr int kPatience_ms = 60000;

class MapsAndPictures : public VideoTest {
protected:
    static bool exposed(QMapWidget* map) {
        const QWindow* surface = MapAccess{*map}.surface()->windowHandle();
        return surface != nullptr && surface->isExposed();
    }
    // Near the upper right corner: nothing but space is there from far away.
    QRgb cornerOf(QMapWidget* map) const {
        const QImage image = onScreen(MapAccess{*map}.surface());
        return image.pixel(image.width() - 8, 8);
    }
    double m_turn_deg = 0.0;
    bool isAllOf(QWidget* window_of_picture, QRgb colour) const {
        const QImage image = onScreen(window_of_picture);
        for (const double x : {0.3, 0.5, 0.7}) {
            for (const double y : {0.4, 0.5, 0.6}) {
                if (!isAbout(image.pixel(static_cast<int>(x * image.width()),
                                         static_cast<int>(y * image.height())),
                             qRed(colour), qGreen(colour), qBlue(colour))) {
                    return false;
                }
            }
        }
        return true;
    }
    // Both pictures are drawn, and both globes move and are drawn all the while.
    void playRound(int round, const std::array<QMapWidget*, 2>& maps) {
        const int first = round % 2;
        const unsigned int before[] = {MapAccess{*maps[0]}.frames(), MapAccess{*maps[1]}.frames()};
        ASSERT_TRUE(waitFor(
            [&] {
                deliver(library().opens[0].on_frame, makeFrame(640, 512, kYuv[first], kYuv[first]));
                deliver(library().opens[1].on_frame, makeFrame(640, 512, kYuv[1 - first], kYuv[1 - first]));
                m_turn_deg += 2.0;
                for (QMapWidget* map : maps) {
                    MapAccess{*map}.m_manipulator()->setViewpoint(
                        globe::Viewpoint("", 112.44 + m_turn_deg, 33.75, 0, 0, -90, 7 * 6378137.0), 0.0);
                }
                QCoreApplication::processEvents();
                return MapAccess{*maps[0]}.frames() > before[0] + 2 &&
                       MapAccess{*maps[1]}.frames() > before[1] + 2 && isAllOf(win1(), kRgb[first]) &&
                       isAllOf(win2(), kRgb[1 - first]);
            },
            kPatience_ms))
            << "round " << round << ", frames " << MapAccess{*maps[0]}.frames() - before[0] << " and "
            << MapAccess{*maps[1]}.frames() - before[1];
        for (QMapWidget* map : maps) {
            EXPECT_TRUE(isAbout(cornerOf(map), 0, 0, 0)) << "round " << round;
        }
    }

    static constexpr Yuv kYuv[] = {kWhite, kRed};
    static constexpr QRgb kRgb[] = {qRgb(255, 255, 255), qRgb(255, 0, 0)};
};

TEST_F(MapsAndPictures, GoOnBesideEachOther) {
    start({{"common/video_display_mode", 2}, {"common/check_video_ms", 600000}});
    foldStatusPane();
    window->OnOpenVideo1();
    window->OnOpenVideo2();
    ASSERT_TRUE(in().playing1() && in().playing2());
    ui().action_map->trigger();
    const std::array<QMapWidget*, 2> maps = {in().m_map1(), in().m_map2()};
    for (QMapWidget* map : maps) {
        ASSERT_NE(map, nullptr);
        ASSERT_TRUE(waitFor([&] { return exposed(map); }, kPatience_ms));
        MapAccess{*map}.m_manipulator()->setViewpoint(
            globe::Viewpoint("", 112.44, 33.75, 0, 0, -90, 7 * 6378137.0), 0.0);
    }
    for (int round = 0; round < 6; ++round) {
        ASSERT_NO_FATAL_FAILURE(playRound(round, maps));
    }
    // A picture that ends takes nothing of the globes with it, nor the other way round.
    ui().action_map->trigger();
    window->findChild<QPushButton*>("m_bottom_map_btn")->click();
    EXPECT_TRUE(waitFor(
        [&] {
            deliver(library().opens[0].on_frame, makeFrame(640, 512, kRed, kRed));
            QCoreApplication::processEvents();
            return isAllOf(win1(), kRgb[1]);
        },
        kPatience_ms));
}

}  // namespace
