// A map on a display of twice the pixels a unit of length: what stands over the globe keeps its size, and the
// hand its place.
#include <QScreen>

#include "map_scene.h"

namespace {

// Before the toolkit starts.
const bool g_scaled = qputenv("QT_SCALE_FACTOR", "2");

constexpr Place kHere = {112.44, 33.75};

class MapScaled : public MapScene {
protected:
    void SetUp() override {
        ASSERT_TRUE(g_scaled);
        MapScene::SetUp();
        // The button's picture and that of the cities.
        QImage picture(32, 32, QImage::Format_RGBA8888);
        for (const QString& name : kPictures) {
            picture.fill(Qt::magenta);
            ASSERT_TRUE(picture.save(name));
        }
        build();
        ASSERT_EQ(map->devicePixelRatioF(), 2.0);
    }
    void TearDown() override {
        for (const QString& name : kPictures) {
            QFile::remove(name);
        }
        MapScene::TearDown();
    }
    const QStringList kPictures = {QStringLiteral("earth/locate_target.png"),
                                   QStringLiteral("earth/placemark32.png")};
};

TEST_F(MapScaled, ControlsAreAsLargeAsTheyAreTold) {
    lookAt(kHere, 1e6);
    EXPECT_EQ(in().m_viewer()->getCamera()->getViewport()->width(), 1280);
    moveTo({320, 240});
    const globe::ControlRect& text = in().m_coord_label()->renderRect();
    EXPECT_NEAR(text.y + text.height, 480 - 10, 1);
    EXPECT_NEAR(text.height, 13 * 1.15, 1);
    EXPECT_GT(text.width, 250);
    EXPECT_EQ(in().m_plane_center()->renderRect().width, 16);
    const globe::ControlRect& scale = in().m_scale_bar()->bar()->renderRect();
    const globe::ControlRect& scale_text = in().m_scale_bar()->label()->renderRect();
    EXPECT_NEAR((scale_text.x + scale.x + scale.width) / 2, 320, 2) << "in the middle of 640";
    // A unit sees what it sees elsewhere, and so is the bar as long.
    lookAt(kHere, 1000);
    const double metres_a_unit = 1000 * std::tan(15 * 3.14159265 / 180) / 240;
    EXPECT_NEAR(in().m_scale_bar()->update(), metres_a_unit, 0.005);
    EXPECT_EQ(in().m_scale_bar()->label()->text(), "100 m");
    settle();
    EXPECT_NEAR(scale.width, 100 / metres_a_unit, 1);
}

TEST_F(MapScaled, MarksAreAsLargeAsTheirPictures) {
    const Place shenzhen = {113.9, 22.54};
    lookAt(shenzhen, 1e6);
    // In pixels of the display, beside the button.
    const auto magenta = [this] {
        const QPoint corner = map->mapToGlobal(QPoint(160, 120));
        const QImage image =
            QGuiApplication::primaryScreen()->grabWindow(0, corner.x(), corner.y(), 320, 240).toImage();
        QRect box;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) == QColor(Qt::magenta)) {
                    box |= QRect(x, y, 1, 1);
                }
            }
        }
        return box;
    };
    EXPECT_TRUE(waitFor([&] { return !magenta().isEmpty(); }, kDeadline_ms));
    const QRect box = magenta();
    EXPECT_EQ(box.size(), QSize(64, 64));
    // It stands on its place, in the middle of the view.
    EXPECT_NEAR(box.center().x(), 320, 2);
    EXPECT_NEAR(box.bottom(), 240, 2);
}

TEST_F(MapScaled, TheHandPressesWhatItSees) {
    lookAt(kHere, 1e6);
    const QPoint at(371, 150);
    moveTo(at);
    const Place expected = placeUnder(kHere, 1e6, at, map->size());
    EXPECT_NEAR(in().m_cursor_lon(), expected.lon, 0.02);
    EXPECT_NEAR(in().m_cursor_lat(), expected.lat, 0.02);
    // The button over the globe.
    const QPoint button(24, 24);
    moveTo(button);
    press(button);
    release(button);
    EXPECT_TRUE(waitFor([&] { return in().m_target_marks().size() == 1U; }, kDeadline_ms));
    EXPECT_TRUE(owner.calls.empty());
    // Twice as far to the right and below there is none.
    const QPoint beside(48, 48);
    moveTo(beside);
    press(beside);
    ASSERT_TRUE(waitCalls(2));
    release(beside);
}

}  // namespace
