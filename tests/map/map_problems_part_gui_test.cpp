// What the map says of its layers follows them, in every map.
#include "globe/layer_stack.h"
#include "tests/map/map_scene.h"

namespace {

class MapProblemLines : public MapScene {};

TEST_F(MapProblemLines, ComeAndGoWithALayerInBothMaps) {
    // Nobody answers on this port.
    writeEarth(
        "<map><image name='far' driver='xyz'><url>http://127.0.0.1:9/{z}/{x}/{y}.png</url></image></map>");
    build();
    QMapWidget second(window.get(), owner);
    second.setGeometry(0, 0, 300, 200);
    second.show();
    const MapAccess other{second};
    const auto shown = [&](bool visible) {
        return in().m_problem_label()->visible() == visible && other.m_problem_label()->visible() == visible;
    };
    ASSERT_TRUE(waitFor([&] { return shown(true); }, kDeadline_ms));
    EXPECT_NE(in().m_problem_label()->text().find("far"), std::string::npos);
    EXPECT_EQ(other.m_problem_label()->text(), in().m_problem_label()->text());
    // As a loading thread tells it once a tile has come.
    in().m_map_node()->getMap()->layers()->wasRead(0);
    EXPECT_TRUE(waitFor([&] { return shown(false); }, kDeadline_ms));
    // The number of lines alone would not show this.
    in().m_map_node()->getMap()->layers()->failedToRead(0, "one reason");
    ASSERT_TRUE(waitFor([&] { return shown(true); }, kDeadline_ms));
    in().m_map_node()->getMap()->layers()->wasRead(0);
    in().m_map_node()->getMap()->layers()->failedToRead(0, "another reason");
    EXPECT_TRUE(waitFor(
        [&] {
            return in().m_problem_label()->text().find("another reason") != std::string::npos &&
                   other.m_problem_label()->text() == in().m_problem_label()->text();
        },
        kDeadline_ms));
}

}  // namespace
