// Frames of the globe at four ranges: bare, with the sky, and with ten draped shapes too, in turns with a
// textured sphere of the same size in an equal context.
//   scripts/with_display build/benchmarks/globe_frames [EARTH_FILE [ROUNDS [SAMPLES [SHAPE]]]]
// SHAPE is the side of a shape as a part of the range.
// 1280 x 720 in memory; each frame is waited for and its camera stands a little beside that of the one
// before, as in a pan. Told are frames a second, processor time a frame (of all threads, the software
// renderer's too), and the ratios of the rounds' medians. Asserts nothing.
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <osg/ShapeDrawable>
#include <osg/Texture2D>
#include <osgDB/ReadFile>
#include <osgViewer/Viewer>
#include <string>
#include <thread>
#include <vector>

#include "globe/feature_node.h"
#include "globe/initialize.h"
#include "globe/map_node.h"
#include "globe/polygon_symbol.h"
#include "globe/raster_source.h"
#include "globe/sky_node.h"

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr double kLon = 112.44;
constexpr double kLat = 33.75;
constexpr int kShapes = 10;
constexpr int kFramesARound = 40;
constexpr int kWarmFrames = 5;
constexpr auto kPatience = std::chrono::seconds(60);

using Clock = std::chrono::steady_clock;

// What the driver still has to draw belongs to the frame.
struct Finish : osg::Camera::DrawCallback {
    void operator()(osg::RenderInfo&) const override { glFinish(); }
};

struct Pose {
    const char* name;
    double range_m;
    double pitch_deg;
};

// One of the things that are compared, in a context of its own.
class Side {
public:
    Side(const char* name, int samples) : m_name(name) {
        osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
        traits->readDISPLAY();
        traits->setUndefinedScreenDetailsToDefaultScreen();
        traits->width = kWidth;
        traits->height = kHeight;
        traits->pbuffer = true;
        traits->doubleBuffer = false;
        traits->depth = 24;
        traits->stencil = 8;
        traits->samples = static_cast<unsigned int>(samples);
        traits->sampleBuffers = samples > 0 ? 1 : 0;
        const auto context = osg::GraphicsContext::createGraphicsContext(traits.get());
        if (context == nullptr) {
            std::fprintf(stderr, "globe_frames: no graphics context\n");
            std::exit(1);
        }
        viewer->setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
        osg::Camera* camera = viewer->getCamera();
        camera->setGraphicsContext(context);
        camera->setViewport(0, 0, kWidth, kHeight);
        camera->setProjectionMatrixAsPerspective(30.0, double(kWidth) / kHeight, 1.0, 10000.0);
        camera->setDrawBuffer(GL_FRONT);
        camera->setReadBuffer(GL_FRONT);
        camera->setFinalDrawCallback(new Finish);
        viewer->setSceneData(root);
    }
    const char* name() const { return m_name; }

    // The eye `range_m` from the ground point, north above, and so far to the side.
    void look(const Pose& pose, double aside_m) {
        const globe::Ellipsoid earth;
        const osg::Vec3d focus = earth.geodeticToGeocentric({kLon, kLat, 0.0});
        const osg::Matrixd axes = earth.localToWorld(focus);
        const osg::Vec3d east(axes(0, 0), axes(0, 1), axes(0, 2));
        const osg::Vec3d north(axes(1, 0), axes(1, 1), axes(1, 2));
        const osg::Vec3d up(axes(2, 0), axes(2, 1), axes(2, 2));
        const double pitch = osg::DegreesToRadians(pose.pitch_deg);
        const osg::Vec3d sight = north * std::cos(pitch) + up * std::sin(pitch);
        const osg::Vec3d eye = focus - sight * pose.range_m + east * aside_m;
        viewer->getCamera()->setViewMatrixAsLookAt(eye, eye + sight,
                                                   up * std::cos(pitch) - north * std::sin(pitch));
    }
    void frame(const Pose& pose) {
        look(pose, (++m_frame % 8) * 1e-4 * pose.range_m);
        viewer->frame();
    }

    osg::ref_ptr<osgViewer::Viewer> viewer = new osgViewer::Viewer;
    osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::ref_ptr<globe::MapNode> map;

private:
    const char* m_name;
    int m_frame = 0;
};

double cpuMs() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto ms = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
    };
    return ms(used.ru_utime) + ms(used.ru_stime);
}

// The picture of the first layer, as large as graphics cards take it without thinking.
osg::ref_ptr<osg::Image> worldPicture(const std::string& folder) {
    std::string error;
    const auto source = globe::openRaster(folder + "/world.tif", "gdal", globe::RasterUse::kColors, &error);
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(2048, 1024, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    const std::atomic<bool> cancelled{false};
    if (!source || source->readColors({{-180.0, -90.0, 180.0, 90.0}, 2048, 1024}, image->data(), cancelled) !=
                       globe::ReadResult::kRead) {
        std::fprintf(stderr, "globe_frames: no world picture: %s\n", error.c_str());
        std::exit(1);
    }
    return image;
}

void fillSphere(Side& side, const std::string& folder) {
    osg::ref_ptr<osg::ShapeDrawable> ball =
        new osg::ShapeDrawable(new osg::Sphere(osg::Vec3(), static_cast<float>(globe::kEquatorRadius_m)));
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(worldPicture(folder));
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_NEAREST);
    ball->getOrCreateStateSet()->setTextureAttributeAndModes(0, texture);
    side.root->addChild(ball);
}

globe::MapNode* readEarth(const std::string& file) {
    globe::MapNode* map = globe::MapNode::findMapNode(osgDB::readRefNodeFile(file).release());
    if (map == nullptr) {
        std::fprintf(stderr, "globe_frames: no earth\n");
        std::exit(1);
    }
    return map;
}

// Ten fields, a tenth of the range apart, about the middle of the view.
void drape(osg::Group& map, double range_m, double side) {
    for (int i = 0; i < kShapes; ++i) {
        const auto at = [&](double east, double north) {
            const double m_a_degree = 111320.0;
            return osg::Vec3d(kLon + east * range_m / (m_a_degree * std::cos(osg::DegreesToRadians(kLat))),
                              kLat + north * range_m / m_a_degree, 0.0);
        };
        const double east = (i % 5 - 2) * 0.1;
        const double north = (i / 5) * 0.1 - 0.05;
        const std::vector<osg::Vec3d> corners = {at(east, north), at(east + side, north),
                                                 at(east + side, north + side), at(east, north + side)};
        globe::Style style;
        style.getOrCreate<globe::PolygonSymbol>()->fill().color() = globe::Color(globe::Color::Yellow, 0.2f);
        map.addChild(new globe::FeatureNode(
            new globe::Feature(new globe::Polygon(corners), globe::SpatialReference::get("wgs84")), style));
    }
}

void addSky(Side& side) {
    globe::SkyOptions options{globe::Config()};
    options.ambient() = 0.1f;
    osg::ref_ptr<globe::SkyNode> sky = globe::SkyNode::create(options);
    sky->setDateTime(globe::DateTime(std::time(nullptr)));
    side.viewer->setLightingMode(osg::View::SKY_LIGHT);
    sky->attach(side.viewer, 0);
    sky->setLighting(true);
    sky->addChild(side.map);
    side.root->addChild(sky);
}

// Seconds until all tiles of the view are there.
double settle(Side& side, const Pose& pose) {
    const auto begin = Clock::now();
    int calm = 0;
    while (side.map.valid() && calm < 3 && Clock::now() - begin < kPatience) {
        side.frame(pose);
        calm = side.map->isLoading() ? 0 : calm + 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(calm == 0 ? 2 : 0));
    }
    // What the data sets are found to lack.
    if (side.map.valid() && !side.map->problems().empty()) {
        std::fprintf(stderr, "globe_frames: %s\n", side.map->problems()[0].c_str());
        std::exit(1);
    }
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

struct Cost {
    double wall_ms = 0.0, cpu_ms = 0.0;
};

Cost costOf(Side& side, const Pose& pose) {
    for (int i = 0; i < kWarmFrames; ++i) {
        side.frame(pose);
    }
    const auto begin = Clock::now();
    const double used = cpuMs();
    for (int i = 0; i < kFramesARound; ++i) {
        side.frame(pose);
    }
    const double wall = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    return {wall / kFramesARound, (cpuMs() - used) / kFramesARound};
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

template <typename Get>
double medianOf(const std::vector<Cost>& costs, Get get) {
    std::vector<double> values;
    for (const Cost& cost : costs) {
        values.push_back(get(cost));
    }
    return median(values);
}

struct Options {
    std::string file = "build/run/earth/XEarth.earth";
    int rounds = 9;
    int samples = 0;
    double shape = 0.05;
};

using Sides = std::array<Side, 4>;

void tellPose(Sides& sides, const Pose& pose, const Options& options) {
    drape(*sides[3].map, pose.range_m, options.shape);
    std::printf("%s, settled after", pose.name);
    for (std::size_t i = 1; i < sides.size(); ++i) {
        std::printf(" %.1f", settle(sides[i], pose));
    }
    std::printf(" s:\n");
    std::array<std::vector<Cost>, 4> costs;
    for (int round = 0; round < options.rounds; ++round) {
        for (std::size_t i = 0; i < sides.size(); ++i) {
            costs[i].push_back(costOf(sides[i], pose));
        }
    }
    std::array<double, 4> wall{};
    std::array<double, 4> cpu{};
    for (std::size_t i = 0; i < sides.size(); ++i) {
        wall[i] = medianOf(costs[i], [](const Cost& cost) { return cost.wall_ms; });
        cpu[i] = medianOf(costs[i], [](const Cost& cost) { return cost.cpu_ms; });
        std::printf(
            "  %-22s %6.1f frames a second, %6.2f ms of processor; to the sphere: frames %.2f, by "
            "processor %.2f; to the bare globe: %.2f, %.2f\n",
            sides[i].name(), 1e3 / wall[i], cpu[i], wall[0] / wall[i], cpu[0] / cpu[i],
            wall[std::min<std::size_t>(i, 1)] / wall[i], cpu[std::min<std::size_t>(i, 1)] / cpu[i]);
    }
    std::fflush(stdout);
    osg::Group& map = *sides[3].map;
    map.removeChildren(map.getNumChildren() - kShapes, kShapes);
}

}  // namespace

int main(int argc, char* argv[]) {
    Options options;
    options.file = argc > 1 ? argv[1] : options.file;
    options.rounds = std::max(1, argc > 2 ? std::atoi(argv[2]) : options.rounds);
    options.samples = argc > 3 ? std::atoi(argv[3]) : options.samples;
    options.shape = argc > 4 ? std::atof(argv[4]) : options.shape;
    globe::initialize();
    Sides sides = {Side("textured sphere", options.samples), Side("globe", options.samples),
                   Side("globe, sky", options.samples), Side("globe, sky, ten shapes", options.samples)};
    const std::size_t slash = options.file.rfind('/');
    fillSphere(sides[0], slash == std::string::npos ? "." : options.file.substr(0, slash));
    for (std::size_t i = 1; i < sides.size(); ++i) {
        sides[i].map = readEarth(options.file);
    }
    sides[1].root->addChild(sides[1].map);
    addSky(sides[2]);
    addSky(sides[3]);
    for (const Pose& pose :
         {Pose{"7 radii", 7.0 * globe::kEquatorRadius_m, -90.0}, Pose{"1000 km", 1e6, -60.0},
          Pose{"50 km", 5e4, -60.0}, Pose{"2 km", 2e3, -60.0}}) {
        tellPose(sides, pose, options);
    }
    return 0;
}
