#include "widgets/page_wheel.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QScrollBar>

namespace {

// An open list is a window of its own, and the application keeps the wheel from all others meanwhile: a combo
// box that sees it is closed.
bool turnsByWheel(const QObject* object) {
    return qobject_cast<const QComboBox*>(object) != nullptr ||
           qobject_cast<const QAbstractSpinBox*>(object) != nullptr ||
           (qobject_cast<const QAbstractSlider*>(object) != nullptr &&
            qobject_cast<const QScrollBar*>(object) == nullptr);
}

}  // namespace

bool passWheelOn(const QObject* object, QEvent* e) {
    if (e->type() != QEvent::Wheel || !turnsByWheel(object)) {
        return false;
    }
    e->ignore();
    return true;
}
