#include "link/control_form.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QSlider>

#include "widgets/SwitchControl/switch_control.h"

namespace {

template <typename T>
T* find(const QWidget& root, const char* object) {
    return root.findChild<T*>(QLatin1String(object));
}

}  // namespace

ControlForm::ControlForm(const QWidget& root, const std::function<sorvane::CalendarTime()>& clock)
    : m_root(root), m_clock(clock) {}

bool ControlForm::checked(const char* object) const {
    if (const auto* toggle = find<SwitchControl>(m_root, object)) {
        return toggle->isToggled();
    }
    const auto* button = find<QAbstractButton>(m_root, object);
    return button != nullptr && button->isChecked();
}

int ControlForm::sliderValue(const char* object) const {
    const auto* slider = find<QSlider>(m_root, object);
    return slider != nullptr ? slider->value() : 0;
}

int ControlForm::index(const char* object) const {
    const auto* box = find<QComboBox>(m_root, object);
    return box != nullptr ? box->currentIndex() : 0;
}

int ControlForm::itemData(const char* object) const {
    const auto* box = find<QComboBox>(m_root, object);
    return box != nullptr ? box->currentData().toInt() : 0;
}

QString ControlForm::text(const char* object) const {
    if (const auto* box = find<QComboBox>(m_root, object)) {
        return box->currentText();
    }
    const auto* edit = find<QLineEdit>(m_root, object);
    return edit != nullptr ? edit->text() : QString();
}

int ControlForm::number(const char* object) const { return text(object).toInt(); }

float ControlForm::decimal(const char* object) const { return text(object).toFloat(); }

sorvane::CalendarTime ControlForm::localTime() const { return m_clock(); }

void ControlForm::setNumber(const char* edit, int value) const {
    if (auto* target = find<QLineEdit>(m_root, edit)) {
        target->setText(QString::number(value));
    }
}
