#include "widgets/SwitchControl/switch_control.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int kFrameMs = 10;
constexpr double kStep = 10;
constexpr double kTrackRadius = 16;
constexpr double kCheckedOpacity = 0.6;
constexpr double kUncheckedOpacity = 0.8;
constexpr double kDisabledOpacity = 0.26;

}  // namespace

SwitchControl::SwitchControl(QWidget* parent) : QWidget(parent) {
    setCursor(Qt::PointingHandCursor);
    connect(&m_timer, &QTimer::timeout, this, &SwitchControl::onTimeout);
}

double SwitchControl::knobDiameter() const { return height() - 2.0 * m_space; }

void SwitchControl::setToggle(bool checked) {
    m_checked = checked;
    m_timer.start(kFrameMs);
}

void SwitchControl::setBackgroundColor(const QColor& color) { m_background = color; }
void SwitchControl::setCheckedColor(const QColor& color) { m_checkedColor = color; }
void SwitchControl::setDisabledColor(const QColor& color) { m_disabled = color; }

void SwitchControl::paintEvent(QPaintEvent* e) {
    Q_UNUSED(e)
    QPainter painter(this);
    painter.setPen(Qt::NoPen);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) {
        painter.setBrush(m_background);
        painter.setOpacity(kDisabledOpacity);
    } else {
        painter.setBrush(m_checked ? m_checkedColor : m_background);
        painter.setOpacity(m_checked ? kCheckedOpacity : kUncheckedOpacity);
    }
    painter.drawRoundedRect(QRectF(rect()), kTrackRadius, kTrackRadius);
    painter.setBrush(m_thumb);
    painter.setOpacity(1);
    painter.drawEllipse(QRectF(m_x, m_space, knobDiameter(), knobDiameter()));
}

void SwitchControl::mousePressEvent(QMouseEvent* e) {
    e->setAccepted(isEnabled() && e->button() == Qt::LeftButton);
}

void SwitchControl::mouseReleaseEvent(QMouseEvent* e) {
    if (!isEnabled() || e->button() != Qt::LeftButton) {
        e->ignore();
        return;
    }
    e->accept();
    m_checked = !m_checked;
    emit toggled(m_checked);
    m_timer.start(kFrameMs);
}

void SwitchControl::onTimeout() {
    const double end = m_checked ? width() - m_space - knobDiameter() : m_space;
    m_x = m_checked ? qMin(m_x + kStep, end) : qMax(m_x - kStep, end);
    if (qFuzzyCompare(m_x, end)) {
        m_timer.stop();
    }
    update();
}
