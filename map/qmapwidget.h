// The 3-D globe of the station.
#pragma once

#include <QWidget>
#include <memory>
#include <osg/Group>
#include <osg/Vec3d>
#include <osgViewer/Viewer>
#include <string>
#include <vector>

#include "globe/check_box_control.h"
#include "globe/circle_node.h"
#include "globe/color.h"
#include "globe/control_containers.h"
#include "globe/feature_node.h"
#include "globe/label_control.h"
#include "globe/map_node.h"
#include "globe/model_node.h"
#include "globe/place_node.h"
#include "globe/rtt_picker.h"
#include "globe/sky_node.h"
#include "map/Compass/compass.h"
#include "map/my_earth_manipulator.h"
#include "map/scale_bar.h"
#include "ui_locate.h"

class GlobeHand;
class MapOwner;
class QMyEvent;
class common_dlg;

namespace globe {
class GraphicsWindowQt;
}

// A view of the earth with the aircraft, its track and footprint, the pod's target and the operator's marks.
// A left press sends the pod to the point under the pointer. Two of them live at once, each with a scene of
// its own. Positions are longitude and latitude in degrees and altitude in metres, headings degrees clockwise
// from north. GUI thread.
class QMapWidget : public QWidget {
    Q_OBJECT

public:
    // Starts reading the earth file for two maps on a thread of its own; once, at the end of the start-up.
    static void preload_earth();
    // The window closes; see map/earth_preload.h.
    static void drop_preload();
    // A picture has come to the video window of that number: maps do not begin a frame when the next is due.
    static void picture_came(int window);

    // Waits for the preload, then builds the whole scene. The owner outlives it.
    QMapWidget(QWidget* parent, MapOwner& owner);
    ~QMapWidget() override;

    // The pod's target; the altitude is not looked at.
    void set_target_location(double lon, double lat, std::uint32_t alt);
    void update_aircraft(double lon, double lat, double alt, float heading);

    // Ends a press on the globe, if one is held.
    void endHold();
    // Texts of its own follow the language.
    void retranslate();

    void add_compass(osgViewer::View* view);
    void fly_to(double lon, double lat, double alt);
    // Makes a node answer to the picker by that number, for which the object index then knows it.
    void set_pickable(osg::Node* node, globe::ObjectID id);
    void show_flag_circle(double lon, double lat, int radius_m);
    globe::PlaceNode* add_place(double lon, double lat, const std::string& name);
    void refresh_target_mark();
    void update_plane_model(double lon, double lat, double alt, float heading);
    void update_footprint(const osg::Vec3d& center, double heading, double fov, double near_m, double far_m);
    static osg::Vec3d destination_point(double lon, double lat, double alt, double bearing_deg,
                                        double distance_m);
    static double great_circle_km(double lat1, double lon1, double lat2, double lon2);

    bool event(QEvent* e) override;

protected:
    void timerEvent(QTimerEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void showEvent(QShowEvent* e) override;
    void hideEvent(QHideEvent* e) override;

private:
    // Tests reach the fields by this one door.
    friend struct MapAccess;

    // qmapwidget_scene.cpp
    void init_scene();
    void init_viewer();
    void init_earth();
    void init_sky();
    void init_controls();
    void init_locate_button();
    void init_picker();
    void add_scale_bar(globe::MapNode* map_node, osgViewer::View* view);
    void show_problems();

    // qmapwidget_marks.cpp
    // Not attached yet.
    osg::ref_ptr<globe::FeatureNode> make_line_node(const std::vector<osg::Vec3d>& points,
                                                    const globe::Color& color, float width_m);
    // Attached to the root.
    globe::FeatureNode* make_polygon_node(const std::vector<osg::Vec3d>& points);
    void append_to_track(const osg::Vec3d& position, bool first);
    void build_plane();
    void center_on(double lon, double lat, double alt);

    // qmapwidget_pick.cpp
    bool on_viewer(const osgGA::GUIEventAdapter& ea);
    void on_control_click(const std::string& name);
    void hover(const osgGA::GUIEventAdapter& ea);
    bool left_button(const osgGA::GUIEventAdapter& ea);
    void left_released();
    void open_locate_dialog();
    bool dialog_button_down(QMyEvent* e);
    void press_lost();

    globe::GraphicsWindowQt* surface_window() const;
    void fit_controls(int width);
    void draw_if_asked();
    void draw();
    void ask_for_frame();

    MapOwner& m_owner;
    osg::ref_ptr<osgViewer::Viewer> m_viewer;
    osg::ref_ptr<osg::Group> m_root;
    osg::ref_ptr<osg::Camera> m_camera;
    osg::ref_ptr<osg::Node> m_earth_node;
    osg::ref_ptr<globe::MapNode> m_map_node;
    osg::ref_ptr<MyEarthManipulator> m_manipulator;
    globe::SkyNode* m_sky = nullptr;
    std::int32_t m_timer_id = 0;
    globe::LabelControl* m_coord_label = nullptr;
    common_dlg* m_locate_dlg = nullptr;
    Ui::MyLocateDialogUi m_locate_ui;
    double m_target_lon = 112.44;
    double m_target_lat = 33.75;
    osg::ref_ptr<osg::Group> m_marker_group;
    std::vector<globe::PlaceNode*> m_target_marks;
    globe::RTTPicker* m_picker = nullptr;
    bool m_left_pressed = false;
    globe::ModelNode* m_plane = nullptr;
    osg::ref_ptr<osg::Group> m_flag_group;
    double m_cursor_lon;  // NaN until the pointer has met the ground, all three
    double m_cursor_lat;
    double m_cursor_alt;
    osg::ref_ptr<ScaleBar> m_scale_bar;
    osg::ref_ptr<Compass> m_compass;
    osg::Vec3d m_last_pos;
    std::vector<osg::Vec3d> m_track;
    globe::FeatureNode* m_track_node = nullptr;
    globe::FeatureNode* m_heading_node = nullptr;
    globe::FeatureNode* m_footprint_node = nullptr;
    globe::CheckBoxControl* m_plane_center = nullptr;

    globe::LabelControl* m_problem_label = nullptr;
    globe::HBox* m_scale_box = nullptr;
    std::unique_ptr<GlobeHand> m_hand;
    std::uint64_t m_problems_shown = 0;  // their revision
    bool m_urgent = false;               // a button waits in the view's queue
};
