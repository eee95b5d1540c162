// The pointer on a map, and what it sends to the pod.
#include <QDebug>
#include <osg/CoordinateSystemNode>

#include "app/events/my_event.h"
#include "globe/graphics_window_qt.h"
#include "globe/registry.h"
#include "globe/sight.h"
#include "map/geo_command.h"
#include "map/globe_hand.h"
#include "map/locate_dialog.h"
#include "map/map_owner.h"
#include "map/pick_drag.h"
#include "map/qmapwidget.h"
#include "widgets/common_dlg.h"

using osgGA::GUIEventAdapter;

namespace {

constexpr double kFlight_s = 5.0;
constexpr double kFlightRange_m = 2000.0;

}  // namespace

void QMapWidget::fly_to(double lon, double lat, double alt) {
    m_manipulator->setViewpoint(globe::Viewpoint("", lon, lat, alt, 0.0, -90.0, kFlightRange_m), kFlight_s);
    ask_for_frame();
}

void QMapWidget::on_control_click(const std::string& name) {
    if (name == "locate_target") {
        fly_to(m_target_lon, m_target_lat, 0.0);
        refresh_target_mark();
    }
}

void QMapWidget::set_pickable(osg::Node* node, globe::ObjectID id) {
    m_picker->addChild(node);
    globe::Registry::instance()->getObjectIndex()->tagNode(node, id);
}

bool QMapWidget::on_viewer(const GUIEventAdapter& ea) {
    const auto type = ea.getEventType();
    const auto button = static_cast<unsigned int>(ea.getButton());
    if (type == GUIEventAdapter::MOVE) {
        hover(ea);
    } else if (type == GUIEventAdapter::RELEASE && button == GUIEventAdapter::RIGHT_MOUSE_BUTTON) {
        open_locate_dialog();
    }
    if (button == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
        return left_button(ea);
    }
    if (type == GUIEventAdapter::DRAG && g_pick_drag) {
        qDebug("drag ing");
    }
    return false;
}

// What is seen counts: over the aircraft it is the aircraft's point. Off the globe the last point stays, for
// the label and for the next press.
void QMapWidget::hover(const GUIEventAdapter& ea) {
    osg::Vec3d world;
    if (!globe::firstSeen(*m_map_node, m_viewer.get(), ea.getX(), ea.getY(), world)) {
        return;
    }
    const osg::EllipsoidModel figure(6378137.0, 6356752.3142);
    figure.convertXYZToLatLongHeight(world.x(), world.y(), world.z(), m_cursor_lat, m_cursor_lon,
                                     m_cursor_alt);
    m_cursor_lon = globe::toDegrees(m_cursor_lon);
    m_cursor_lat = globe::toDegrees(m_cursor_lat);
    m_coord_label->setText(sorvane::cursorText({m_cursor_lon, m_cursor_lat, m_cursor_alt}));
    ask_for_frame();
}

bool QMapWidget::left_button(const GUIEventAdapter& ea) {
    switch (ea.getEventType()) {
        case GUIEventAdapter::PUSH: {
            m_left_pressed = true;
            const auto payload = sorvane::payloadOf({m_cursor_lon, m_cursor_lat, m_cursor_alt});
            m_owner.geoHoldBegins(this, sorvane::kGeoTrack);
            m_owner.sendCommandPayload(sorvane::kGeoTrack, payload.data(), static_cast<int>(payload.size()));
            return true;
        }
        case GUIEventAdapter::RELEASE:
            if (m_left_pressed && g_pick_drag) {
                qDebug("drag end");
            }
            left_released();
            return false;
        default:
            return true;
    }
}

void QMapWidget::left_released() {
    m_left_pressed = false;
    g_pick_drag = false;
    // A hit that is told after the release would begin a drag without a hand.
    m_picker->cancel(m_picker->getDefaultCallback());
    m_owner.geoHoldEnded(this);
}

void QMapWidget::endHold() {
    if (m_hand->letGo() || m_left_pressed) {
        press_lost();
    }
}

// What waits in the view's queue was meant for a hand that is gone. A press that has become a command gets
// its release by this, and the release that may still come of the hand itself is none any more.
void QMapWidget::press_lost() { surface_window()->endInput(); }

void QMapWidget::open_locate_dialog() {
    if (!m_locate_dlg->isVisible()) {
        openLocateDialog(m_locate_ui, *m_locate_dlg, *this, {m_cursor_lon, m_cursor_lat, m_cursor_alt});
    }
}

bool QMapWidget::dialog_button_down(QMyEvent* e) {
    const QString name = e->sender != nullptr ? e->sender->objectName() : QString();
    const LocateFields fields = readLocateFields(m_locate_ui);
    if (name == QLatin1String("btn_geo_guid") || name == QLatin1String("btn_geo_track")) {
        const std::uint8_t code =
            name == QLatin1String("btn_geo_guid") ? sorvane::kGeoGuide : sorvane::kGeoTrack;
        const auto payload = sorvane::dialogPayload(fields.latitude_deg, fields.altitude_m);
        m_owner.geoHoldBegins(e->sender, code);
        m_owner.sendCommandPayload(code, payload.data(), static_cast<int>(payload.size()));
        return true;
    }
    if (name == QLatin1String("btn_flag")) {
        m_owner.geoHoldBegins(e->sender, 0);
        show_flag_circle(static_cast<double>(fields.longitude_deg), static_cast<double>(fields.latitude_deg),
                         fields.radius_m);
        return true;
    }
    return false;
}
