// What a map is made of on the disk: the earth file and its faults, the preload, the compass's face.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QImage>
#include <QTranslator>

#include "map/earth_preload.h"
#include "map/problem_text.h"
#include "map_scene.h"

namespace {

constexpr Place kHere = {112.44, 33.75};

class MapFiles : public MapScene {};

TEST_F(MapFiles, AMissingEarthIsSaidInTheMap) {
    QFile::remove(QStringLiteral("earth/XEarth.earth"));
    build();
    ASSERT_TRUE(in().m_map_node().valid());
    lookAt(kHere, 1e6);
    EXPECT_TRUE(in().m_problem_label()->visible());
    EXPECT_NE(in().m_problem_label()->text().find("XEarth.earth"), std::string::npos)
        << in().m_problem_label()->text();
    EXPECT_EQ(in().m_problem_label()->text().rfind("地图数据：", 0), 0U);
    // Picking works on the bare earth.
    moveTo({320, 240});
    EXPECT_NEAR(in().m_cursor_lon(), kHere.lon, 0.02);
    QTranslator english;
    ASSERT_TRUE(english.load(QStringLiteral("../translations/Translation_en.qm")));
    QCoreApplication::installTranslator(&english);
    map->retranslate();
    EXPECT_EQ(in().m_problem_label()->text().rfind("Map data: ", 0), 0U) << in().m_problem_label()->text();
}

// What the map says is in the window's language, and stays inside a narrow one.
TEST_F(MapFiles, FaultsOfLayersAreSaidInChinese) {
    writeEarth(
        "<map type='projected'><image name='n1'/><image name='n2'><url>gone.tif</url></image>"
        "<image name='n3'><url>./XEarth.earth</url><opacity>half</opacity></image></map>\n");
    build({300, 400});
    lookAt(kHere, 1e6);
    ASSERT_TRUE(waitFor([&] { return in().m_problem_label()->text().find("驱动") != std::string::npos; },
                        kDeadline_ms))
        << in().m_problem_label()->text();
    EXPECT_EQ(in().m_problem_label()->text(),
              "地图数据：地图类型 projected 按地球仪显示\n"
              "地图数据：图层 n1：没有给出地址（url）\n"
              "地图数据：图层 n2：缺少 ./earth/gone.tif\n"
              "地图数据：图层 n3：opacity 不是数字：half\n"
              "地图数据：图层 n3：./earth/./XEarth.earth：没有能读取它的驱动");
    settle();
    const globe::ControlRect& room = in().m_problem_label()->renderRect();
    EXPECT_LE(room.x + room.width, 300.0F);
    EXPECT_GE(room.y, 0.0F);
    EXPECT_GT(room.height, 90.0F) << "five problems take more than five lines here";
    map->setGeometry(0, 0, 900, 400);
    settle();
    EXPECT_GT(in().m_problem_label()->renderRect().width, 300.0F);
}

TEST(MapProblems, ManyAndLongOnesAreCutShort) {
    std::vector<std::string> problems(5, "layer a: has no url");
    EXPECT_EQ(problemText(problems).count('\n'), 4);
    problems.emplace_back("layer b: has no url");
    const QStringList lines = problemText(problems).split('\n');
    ASSERT_EQ(lines.size(), 5);
    EXPECT_EQ(lines[3], "地图数据：图层 a：没有给出地址（url）");
    EXPECT_EQ(lines[4], "另有 2 条");
    const QString path = "/maps/" + QString(300, 'x') + "/north.tif";
    const QString line = problemText({"layer a: " + path.toStdString() + " is missing"});
    EXPECT_LT(line.size(), 200);
    EXPECT_TRUE(line.startsWith("地图数据：图层 a：缺少 /maps/xx")) << qPrintable(line);
    EXPECT_TRUE(line.endsWith("xx/north.tif")) << qPrintable(line);
    EXPECT_EQ(problemText({}), "");
}

TEST(MapProblems, ReasonsOfLibrariesAreKnownOrQuoted) {
    const auto text = [](const std::string& reason) {
        return problemText({"layer a: " + reason}).mid(QStringLiteral("地图数据：图层 a：").size());
    };
    EXPECT_EQ(text("http://x/y: no driver knows it"), "http://x/y：没有能读取它的驱动");
    EXPECT_EQ(text("a.tif: has no picture in it"), "a.tif：其中没有图像");
    EXPECT_EQ(text("a.tif: does not say where on the earth it lies"), "a.tif：没有地理位置信息");
    EXPECT_EQ(text("a.tif: a.tif: No such file or directory"), "a.tif：文件不存在");
    EXPECT_EQ(text("parts cannot be read: HTTP response code : 503"),
              "部分数据无法读取：服务器拒绝（HTTP 503）");
    EXPECT_EQ(text("http://x/y: Could not resolve host: x"), "找不到服务器");
    EXPECT_EQ(text("http://x/y: there is nothing at this address"), "http://x/y：该地址没有内容");
    EXPECT_EQ(text("tiles.xml: cannot be read"), "tiles.xml：无法读取");
    EXPECT_EQ(text("a tile is no picture"), "有瓦片不是图像");
    EXPECT_EQ(text("this system fetches nothing from the web"), "本系统无法从网络读取");
    EXPECT_EQ(text("HTTP error code : 503"), "服务器拒绝（HTTP 503）");
    EXPECT_EQ(text("parts cannot be read: no reason is given"), "部分数据无法读取：原因不明");
    EXPECT_EQ(text("parts cannot be read: Bad tile %1"), "部分数据无法读取：读取失败：Bad tile %1");
}

TEST_F(MapFiles, AWholeEarthSaysNothing) {
    build();
    EXPECT_FALSE(in().m_problem_label()->visible());
}

TEST_F(MapFiles, MapsHaveScenesOfTheirOwn) {
    build();
    QMapWidget second(window.get(), owner);
    EXPECT_NE(MapAccess{second}.m_earth_node(), in().m_earth_node());
    map->set_target_location(1, 2, 0);
    EXPECT_TRUE(MapAccess{second}.m_target_marks().empty());
    // Nobody preloaded a third.
    QMapWidget third(window.get(), owner);
    EXPECT_TRUE(MapAccess{third}.m_map_node().valid());
}

// Opening a pipe that nobody writes to hangs like a dead file server does.
TEST_F(MapFiles, AReadThatHangsHoldsNoMap) {
    QFile::remove(QStringLiteral("earth/XEarth.earth"));
    ASSERT_EQ(mkfifo("earth/XEarth.earth", 0600), 0);
    QMapWidget::preload_earth();
    for (int map_number = 0; map_number < 2; ++map_number) {
        const osg::ref_ptr<osg::Node> earth = takeEarth(std::chrono::milliseconds(50));
        globe::MapNode* const bare = globe::MapNode::findMapNode(earth.get());
        ASSERT_NE(bare, nullptr);
        ASSERT_EQ(bare->problems().size(), 1U);
        EXPECT_NE(bare->problems()[0].find("XEarth.earth cannot be read"), std::string::npos);
    }
    // Lets the thread go that was left behind.
    const int writer = ::open("earth/XEarth.earth", O_WRONLY);
    ASSERT_GE(writer, 0);
    ::close(writer);
    QFile::remove(QStringLiteral("earth/XEarth.earth"));
    QMapWidget::drop_preload();
}

TEST_F(MapFiles, ClosingDuringThePreloadIsQuick) {
    for (int i = 0; i < 20; ++i) {
        QMapWidget::preload_earth();
        QMapWidget::drop_preload();
        EXPECT_FALSE(takeEarth().valid()) << "nothing is left of what was read";
    }
    QMapWidget::preload_earth();
    QMapWidget::preload_earth();
    build();
    EXPECT_FALSE(in().m_problem_label()->visible()) << in().m_problem_label()->text();
}

TEST_F(MapFiles, TheCompassTurnsAgainstTheCamera) {
    QImage face(64, 64, QImage::Format_RGBA8888);
    face.fill(Qt::white);
    ASSERT_TRUE(face.save(QStringLiteral("earth/compass.png")));
    build();
    EXPECT_FALSE(in().m_compass().valid());
    map->add_compass(in().m_viewer().get());
    ASSERT_TRUE(in().m_compass().valid());
    EXPECT_EQ(in().m_compass()->image_height(), 64);
    struct Heard : Compass::HeadingCallback {
        void operator()(double heading_deg) override { heading = heading_deg; }
        double heading = -1;
    };
    const osg::ref_ptr<Heard> heard = new Heard;
    in().m_compass()->set_callback(heard);
    in().m_manipulator()->setViewpoint(globe::Viewpoint("", 112.44, 33.75, 0.0, 77.0, -45.0, 5000.0), 0.0);
    in().m_viewer()->requestRedraw();
    EXPECT_TRUE(waitFor([&] { return std::fabs(heard->heading - 77.0) < 1e-6; }, kDeadline_ms));
    in().m_compass()->set_view(nullptr);
    in().m_compass()->set_view(in().m_viewer().get());
    QFile::remove(QStringLiteral("earth/compass.png"));
    const osg::ref_ptr<Compass> empty = new Compass("./earth/compass.png", nullptr);
    empty->set_view(in().m_viewer().get());
    EXPECT_EQ(empty->image_height(), 0);
}

}  // namespace
