// Life cycle of a map: construction, frames, size, showing and hiding.
#include "map/qmapwidget.h"

#include <QResizeEvent>
#include <QTimerEvent>
#include <algorithm>
#include <chrono>
#include <limits>

#include "app/events/my_event.h"
#include "globe/graphics_window_qt.h"
#include "map/earth_preload.h"
#include "map/frame_pace.h"
#include "map/globe_hand.h"
#include "map/map_owner.h"
#include "widgets/common_dlg.h"

namespace {

constexpr int kFrameMs = 10;
constexpr double kFieldOfView_deg = 30.0;
constexpr int kProblemGap = 16;  // beside what the map says of its data
// Narrower, the scale at its longest would lie on the controls at the left, and goes below them.
constexpr int kOneRow = 620;
constexpr float kSecondRow = 44.0F;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::int64_t now_us() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

// One for all maps: they draw on the same thread.
sorvane::FramePace& pace() {
    static sorvane::FramePace one;
    return one;
}

}  // namespace

void QMapWidget::preload_earth() { startEarthPreload(); }

void QMapWidget::drop_preload() { dropEarthPreload(); }

void QMapWidget::picture_came(int window) { pace().pictureCame(window, now_us()); }

QMapWidget::QMapWidget(QWidget* parent, MapOwner& owner)
    : QWidget(parent),
      m_owner(owner),
      m_cursor_lon(kNan),
      m_cursor_lat(kNan),
      m_cursor_alt(kNan),
      m_last_pos(kNan, kNan, kNan) {
    m_earth_node = takeEarth();
    init_scene();
    draw();
}

QMapWidget::~QMapWidget() {
    endHold();
    m_hand.reset();
    // The dialog belongs to the window and would outlive what it speaks to.
    delete m_locate_dlg;
}

void QMapWidget::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (m_timer_id == 0) {
        m_timer_id = startTimer(kFrameMs, Qt::CoarseTimer);
    }
    ask_for_frame();
}

void QMapWidget::hideEvent(QHideEvent* e) {
    QWidget::hideEvent(e);
    if (m_timer_id != 0) {
        killTimer(m_timer_id);
        m_timer_id = 0;
    }
    endHold();
}

void QMapWidget::timerEvent(QTimerEvent* e) {
    if (e->timerId() == m_timer_id) {
        draw_if_asked();
    }
    QWidget::timerEvent(e);
}

void QMapWidget::ask_for_frame() { m_viewer->requestRedraw(); }

globe::GraphicsWindowQt* QMapWidget::surface_window() const {
    return static_cast<globe::GraphicsWindowQt*>(m_camera->getGraphicsContext());
}

// A frame is drawn only when something has changed and it will be seen, and leaves the thread to pictures and
// commands for as long as it took. A button goes ahead of all that: what it means for the pod is found out in
// a frame.
void QMapWidget::draw_if_asked() {
    // They come and go with what the loading threads meet, in this map and in the other.
    if (m_map_node->problemsRevision() != m_problems_shown) {
        show_problems();
    }
    // A view that has lost its context draws no more, but what is held on it has to end.
    if (!surface_window()->valid()) {
        surface_window()->endInput();
        return;
    }
    if (m_urgent ||
        (surface_window()->isExposed() && m_viewer->checkNeedToDoFrame() && pace().mayDraw(this, now_us()))) {
        draw();
    }
}

// A view without a context would open windows of its own.
void QMapWidget::draw() {
    m_urgent = false;
    if (!surface_window()->valid()) {
        return;
    }
    const std::int64_t begin = now_us();
    m_viewer->frame();
    pace().drawn(this, begin, now_us());
}

void QMapWidget::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    globe::GLWidget* surface = surface_window()->getGLWidget();
    const QSize size = e->size();
    surface->setGeometry(0, 0, size.width(), size.height());
    fit_controls(size.width());
    m_camera->setProjectionMatrixAsPerspective(
        kFieldOfView_deg, static_cast<double>(size.width()) / static_cast<double>(size.height()), 1.0,
        10000.0);
    if (surface->parent() == nullptr) {
        surface->setParent(this);
        surface->show();
    }
    ask_for_frame();
}

void QMapWidget::fit_controls(int width) {
    m_problem_label->setMaxWidth(static_cast<float>(std::max(width - kProblemGap, kProblemGap)));
    m_scale_box->setMargin(globe::Control::SIDE_TOP, width < kOneRow ? kSecondRow : 0.0F);
}

bool QMapWidget::event(QEvent* e) {
    const int type = e->type();
    if (type == EVT_CMD_BTN_DOWN && dialog_button_down(static_cast<QMyEvent*>(e))) {
        return true;
    }
    if (type == EVT_CMD_BTN_UP) {
        m_owner.geoHoldEnded(static_cast<QMyEvent*>(e)->sender);
    }
    return QWidget::event(e);
}
