// The mouse and the keyboard move the camera of a globe.
#pragma once

#include <optional>
#include <osg/View>
#include <osg/observer_ptr>
#include <osg/ref_ptr>
#include <osgGA/CameraManipulator>

#include "globe/map_node.h"
#include "globe/orbit_camera.h"
#include "globe/viewpoint.h"

namespace globe {

// Left drag: pan, the point of the ground that was pressed stays under the cursor. Middle drag, or left and
// right together: turn about the focal point. Right drag and wheel: zoom, the wheel towards the cursor.
// Arrows pan, the space bar goes home. A press without movement moves nothing.
//
// The camera never goes below the ground: what a movement or a flight leaves there is raised. The focal point
// follows the ground when it is panned, unless it floated above it.
//
// It asks its view for frames only while a flight lasts, and for one after a change from outside. All in the
// thread that draws.
class EarthManipulator : public osgGA::CameraManipulator {
public:
    class Settings : public osg::Referenced {
    public:
        // Timed changes of the viewpoint go up on the way.
        void setArcViewpointTransitions(bool arc) { m_arc = arc; }
        bool getArcViewpointTransitions() const { return m_arc; }
        // Degrees, not above 0; what the mouse may reach. Viewpoints set from outside are not limited.
        void setMinMaxPitch(double min_deg, double max_deg);
        double getMinPitch() const { return m_min_pitch; }
        double getMaxPitch() const { return m_max_pitch; }
        // Part of the distance by which one notch of the wheel zooms.
        void setScrollSensitivity(double part) { m_scroll = part; }
        double getScrollSensitivity() const { return m_scroll; }
        // The wheel keeps the ground under the cursor in its place.
        void setZoomToMouse(bool on) { m_zoom_to_mouse = on; }
        bool getZoomToMouse() const { return m_zoom_to_mouse; }
        // What the eye keeps above the ground, in metres.
        void setGroundClearance(double metres) { m_clearance = metres; }
        double getGroundClearance() const { return m_clearance; }

    private:
        bool m_arc = false;
        double m_min_pitch = -90.0;
        double m_max_pitch = -1.0;
        double m_scroll = 0.1;
        bool m_zoom_to_mouse = true;
        double m_clearance = 10.0;
    };

    EarthManipulator();
    const char* className() const override { return "EarthManipulator"; }

    Settings* getSettings() const { return m_settings.get(); }

    // The map is found at or below the node. Once set, only null takes it away: a view that hands over its
    // whole scene changes nothing.
    void setNode(osg::Node* node) override;
    const osg::Node* getNode() const override { return m_node.get(); }
    osg::Node* getNode() override { return m_node.get(); }
    MapNode* getMapNode() const { return m_map_node.get(); }

    void setByMatrix(const osg::Matrixd& eye_to_world) override;
    void setByInverseMatrix(const osg::Matrixd& world_to_eye) override;
    osg::Matrixd getMatrix() const override;
    osg::Matrixd getInverseMatrix() const override;

    // Where the view is now, also in the middle of a flight. Geographic, absolute; degrees and metres.
    Viewpoint getViewpoint() const;
    // With a duration the flight begins with the next frame and ends exactly there; a later call, or the
    // hand, ends it where it is. Without one it is there at once.
    void setViewpoint(const Viewpoint& viewpoint, double duration_s = 0.0);
    bool isSettingViewpoint() const { return m_flight.has_value(); }
    void cancelViewpointTransition();

    void setHomeViewpoint(const Viewpoint& viewpoint, double duration_s = 0.0);
    void home(double time_s) override;
    void home(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) override;
    void init(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) override;

    // From the eye to the focal point, in metres.
    double getDistance() const { return m_pose.range; }
    void setDistance(double metres);
    // Radians: heading clockwise from north, pitch negative below the horizon. Either may be null.
    void getCompositeEulerAngles(double* heading_rad, double* pitch_rad = nullptr) const;

    // The movements, called by handle() with the way of the mouse since the last call in units of half the
    // window, right and up.
    // In a drag the ground that was pressed follows the cursor exactly; otherwise the scene at the focal
    // point moves by (dx, dy).
    virtual void pan(double dx, double dy);
    virtual void rotate(double dx, double dy);
    // The distance times (1 + dy). With a view, and from the wheel, the ground under the cursor stays there.
    virtual void zoom(double dx, double dy, osg::View* view);

    bool handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action) override;

protected:
    ~EarthManipulator() override;

    const Terrain& terrain() const;

private:
    enum class Movement { kNone, kPan, kRotate, kZoom };

    static Movement movementOf(int button_mask);
    void press(const osgGA::GUIEventAdapter& event);
    bool drag(const osgGA::GUIEventAdapter& event, osg::View* view);
    bool wheel(const osgGA::GUIEventAdapter& event, osg::View* view);
    bool key(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& action);
    void frame(double time_s, osgGA::GUIActionAdapter& action);
    void letGo();
    void grab(const osg::Vec2d& point);
    // The pose that a viewpoint asks for, over the present one.
    OrbitPose poseOf(const Viewpoint& viewpoint) const;
    void keepAboveGround();
    void raiseSunkenFocus();
    void takeLens(osg::View* view);
    void askForFrames(bool on);

    osg::ref_ptr<Settings> m_settings;
    osg::observer_ptr<osg::Node> m_node;
    osg::observer_ptr<MapNode> m_map_node;
    osg::ref_ptr<Terrain> m_bare_terrain;  // until there is a map
    osg::observer_ptr<osg::View> m_view;   // whom to ask for frames
    std::optional<Viewpoint> m_home;
    double m_home_duration_s = 0.0;

    OrbitPose m_pose;
    std::optional<Flight> m_flight;

    Lens m_lens;
    Movement m_movement = Movement::kNone;
    int m_buttons = 0;
    bool m_moved = false;     // beyond what a hand does in a click
    osg::Vec2d m_pressed_at;  // of the picture, -1 to 1
    osg::Vec2d m_cursor;
    std::optional<osg::Vec3d> m_grabbed;  // ground held by the drag
    bool m_on_ground = false;             // the focal point, when the pan began
    std::optional<osg::Vec2d> m_anchor;   // of the zoom
};

}  // namespace globe
