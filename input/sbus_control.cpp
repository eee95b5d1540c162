#include "input/sbus_control.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {

constexpr const char* kActive = "QWidget{background-color:rgb(70, 114, 196);}QLabel{color:white}";
constexpr const char* kPassive = "QWidget{background-color:rgb(255, 255, 255);}QLabel{color:black}";

QLabel* makeLabel(const char* text, QWidget* parent) {
    auto* label = new QLabel(QLatin1String(text), parent);
    label->setFixedSize(50, 30);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

}  // namespace

sbus_control::sbus_control(QWidget* parent) : QWidget(parent) { setCursor(Qt::ArrowCursor); }

void sbus_control::setTexts(const QString& a, const QString& b) {
    text_a = a;
    text_b = b;
    refresh();
}

void sbus_control::setReversed(bool reversed) {
    forward = !reversed;
    refresh();
}

void sbus_control::setClickable(bool on) {
    clickable = on;
    setCursor(on ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void sbus_control::mouseReleaseEvent(QMouseEvent* e) {
    QWidget::mouseReleaseEvent(e);
    if (clickable) {
        forward = !forward;
        refresh();
    }
}

void sbus_control::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    if (m_left.widget == nullptr) {
        build();
        refresh();
    }
}

void sbus_control::build() {
    const int half = width() / 2;
    const auto panel = [this](int x, int w, const char* low, const char* high, bool value_right) {
        Panel p;
        p.widget = new QWidget(this);
        p.widget->setGeometry(x, 0, w, height());
        auto* layout = new QHBoxLayout(p.widget);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        QLabel* first = makeLabel(low, p.widget);
        p.function = new QLabel(p.widget);
        p.function->setAlignment(Qt::AlignCenter);
        p.function->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        QLabel* last = makeLabel(high, p.widget);
        layout->addWidget(first);
        layout->addWidget(p.function);
        layout->addWidget(last);
        p.centre_value = value_right ? last : first;
        p.widget->show();
        return p;
    };
    m_left = panel(0, half, "200", "1000", true);
    m_right = panel(half, width() - half, "1000", "1800", false);
}

// The blue half marks the present direction, and exactly one "1000" is visible.
void sbus_control::refresh() {
    if (m_left.widget == nullptr) {
        return;
    }
    m_left.widget->setStyleSheet(QLatin1String(forward ? kActive : kPassive));
    m_right.widget->setStyleSheet(QLatin1String(forward ? kPassive : kActive));
    m_left.centre_value->setVisible(forward);
    m_right.centre_value->setVisible(!forward);
    m_left.function->setText(forward ? text_a : text_b);
    m_right.function->setText(forward ? text_b : text_a);
}
