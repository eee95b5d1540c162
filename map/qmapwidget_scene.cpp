// The scene of a map, built once.
#include <ctime>
#include <osgDB/ReadFile>

#include "globe/control_canvas.h"
#include "globe/control_containers.h"
#include "globe/date_time.h"
#include "globe/ephemeris.h"
#include "globe/graphics_window_qt.h"
#include "globe/image_control.h"
#include "map/globe_hand.h"
#include "map/handler_control.h"
#include "map/handler_pick.h"
#include "map/locate_dialog.h"
#include "map/map_owner.h"
#include "map/problem_text.h"
#include "map/qmapwidget.h"

using globe::Control;
using globe::ControlCanvas;
using globe::HBox;
using globe::ImageControl;
using globe::LabelControl;

namespace {

constexpr double kFirstFlight_s = 5.0;
constexpr double kRadiiAway = 7.0;
const char* const kLocateButton = "locate_target";

struct City {
    const char* name;
    double lon, lat;
};
constexpr City kCities[] = {
    {"Tokyo", 139.75, 35.68},
    {"New Orleans", -90.25, 29.98},
    {"Miami", -80.28, 25.82},
    {"ShenZhen", 113.9, 22.54},
};

}  // namespace

void QMapWidget::init_scene() {
    init_viewer();
    init_earth();
    init_sky();
    init_controls();
    m_locate_dlg = makeLocateDialog(m_locate_ui, m_owner.dialogParent(), this);
    m_marker_group = new osg::Group;
    m_earth_node->asGroup()->addChild(m_marker_group);
    for (const City& city : kCities) {
        add_place(city.lon, city.lat, city.name);
    }
    init_picker();
    add_scale_bar(m_map_node.get(), m_viewer.get());
    show_problems();
}

void QMapWidget::init_viewer() {
    m_viewer = new osgViewer::Viewer;
    m_root = new osg::Group;
    osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
    traits->windowDecoration = false;
    traits->x = 0;
    traits->y = 0;
    traits->width = 0;
    traits->height = 0;
    traits->doubleBuffer = true;
    traits->samples = 8;
    m_camera = new osg::Camera;
    osg::ref_ptr<globe::GraphicsWindowQt> window = new globe::GraphicsWindowQt(traits.get());
    m_camera->setGraphicsContext(window.get());
    m_camera->setClearColor(osg::Vec4(0.2F, 0.2F, 0.6F, 1.0F));
    m_camera->setViewport(new osg::Viewport(0, 0, traits->width, traits->height));
    // The projection follows the widget's own size and nothing else.
    m_camera->setProjectionResizePolicy(osg::Camera::FIXED);
    m_viewer->setCamera(m_camera.get());
    m_viewer->setSceneData(m_root.get());
    m_viewer->setThreadingModel(osgViewer::Viewer::SingleThreaded);
    m_viewer->setRunFrameScheme(osgViewer::ViewerBase::ON_DEMAND);
    // Keys belong to the window: none ends the view.
    m_viewer->setKeyEventSetsDone(0);
    m_viewer->setQuitEventSetsDone(false);
    m_hand = std::make_unique<GlobeHand>(
        *window->getGLWidget(),
        GlobeHand::Actions{[this] { m_urgent = true; }, [this] { press_lost(); },
                           [this](const QPoint& global) { return m_owner.onWindowEdge(global); }});
}

void QMapWidget::init_earth() {
    if (!m_earth_node.valid() || globe::MapNode::findMapNode(m_earth_node.get()) == nullptr) {
        m_earth_node = globe::MapNode::createEmpty();
    }
    m_map_node = globe::MapNode::findMapNode(m_earth_node.get());
    m_manipulator = new MyEarthManipulator;
    m_manipulator->setNode(m_map_node.get());
    m_manipulator->getSettings()->setArcViewpointTransitions(true);
    m_viewer->setCameraManipulator(m_manipulator.get(), true);
    const double far_away = kRadiiAway * m_map_node->getMapSRS()->getEllipsoid().getRadiusEquator();
    m_manipulator->setViewpoint(
        globe::Viewpoint("cur_locate", m_target_lon, m_target_lat, 0.0, 0.0, -90.0, far_away),
        kFirstFlight_s);
    m_manipulator->set_max_distance(far_away);
}

void QMapWidget::init_sky() {
    globe::SkyOptions options{globe::Config()};
    options.ambient() = 0.1F;
    osg::ref_ptr<globe::SkyNode> sky = globe::SkyNode::create(options);
    m_sky = sky.get();
    m_sky->setName("SkyNode");
    m_sky->setEphemeris(new globe::Ephemeris);
    // The sun stays where it stands now.
    m_sky->setDateTime(globe::DateTime(std::time(nullptr)));
    m_viewer->setLightingMode(osg::View::SKY_LIGHT);
    m_sky->attach(m_viewer.get(), 0);
    m_sky->setLighting(true);
    m_sky->addChild(m_map_node);
    m_root->addChild(m_sky);
}

void QMapWidget::init_controls() {
    ControlCanvas* canvas = ControlCanvas::getOrCreate(m_viewer.get());
    m_coord_label = new LabelControl(std::string(), 18.0F, osg::Vec4f(1, 1, 1, 1));
    m_coord_label->setHorizAlign(Control::ALIGN_LEFT);
    m_coord_label->setVertAlign(Control::ALIGN_BOTTOM);
    m_coord_label->setMargin(Control::SIDE_BOTTOM, 10.0F);
    m_coord_label->setBackColor(0, 0, 0, 0.2F);
    m_coord_label->setFontSize(13.0F);
    canvas->addControl(m_coord_label);
    init_locate_button();

    m_problem_label = new LabelControl(std::string(), 13.0F, osg::Vec4f(1.0F, 0.85F, 0.4F, 1.0F));
    m_problem_label->setHorizAlign(Control::ALIGN_LEFT);
    m_problem_label->setVertAlign(Control::ALIGN_BOTTOM);
    m_problem_label->setMargin(Control::SIDE_BOTTOM, 40.0F);
    m_problem_label->setBackColor(0, 0, 0, 0.6F);
    m_problem_label->setPadding(4.0F);
    m_problem_label->setAbsorbEvents(false);
    m_problem_label->setVisible(false);
    canvas->addControl(m_problem_label);
}

void QMapWidget::init_locate_button() {
    auto* box = new HBox;
    box->setChildVertAlign(Control::ALIGN_CENTER);
    auto* button = new ImageControl(osgDB::readRefImageFile("./earth/locate_target.png").get());
    button->setName(kLocateButton);
    button->addEventHandler(new handler_control([this](const std::string& name) { on_control_click(name); }));
    box->addControl(button);
    m_plane_center = new globe::CheckBoxControl(false);
    box->addControl(m_plane_center);
    box->addControl(new LabelControl("plane center", 18.0F, osg::Vec4f(1, 1, 1, 1)));
    ControlCanvas::getOrCreate(m_viewer.get())->addControl(box);
}

void QMapWidget::init_picker() {
    constexpr int kPickerPixels = 256;
    osg::ref_ptr<globe::RTTPicker> picker = new globe::RTTPicker(kPickerPixels);
    m_picker = picker.get();
    m_viewer->addEventHandler(m_picker);
    m_picker->setDefaultCallback(
        new handler_pick([this](const osgGA::GUIEventAdapter& ea) { return on_viewer(ea); }));
}

void QMapWidget::add_scale_bar(globe::MapNode* map_node, osgViewer::View* view) {
    m_scale_bar = new ScaleBar(map_node, view);
    auto* box = new HBox;
    m_scale_box = box;
    box->setHorizAlign(Control::ALIGN_CENTER);
    box->setVertAlign(Control::ALIGN_TOP);
    box->setPadding(2.0F);
    box->setChildSpacing(2.0F);
    box->setVertFill(true);
    box->setForeColor(0, 0, 0, 0.8F);
    box->setBackColor(1, 1, 1, 0.5F);
    box->addControl(m_scale_bar->label());
    box->addControl(m_scale_bar->bar());
    ControlCanvas::getOrCreate(view)->addControl(box);
    view->addEventHandler(new ScaleBarHandler(m_scale_bar.get()));
}

void QMapWidget::add_compass(osgViewer::View* view) {
    m_compass = new Compass("./earth/compass.png", ControlCanvas::getOrCreate(view));
    m_compass->set_view(view);
}

void QMapWidget::retranslate() { show_problems(); }

void QMapWidget::show_problems() {
    m_problems_shown = m_map_node->problemsRevision();
    const std::vector<std::string> problems = m_map_node->problems();
    m_problem_label->setText(problemText(problems).toStdString());
    m_problem_label->setVisible(!problems.empty());
    ask_for_frame();
}
