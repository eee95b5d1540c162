#include "widgets/state_dot.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <utility>

namespace {

constexpr int kDot = 8;
constexpr int kGap = 4;
constexpr int kSide = 8;
constexpr int kWindowEdge = 5;

}  // namespace

StateDot::StateDot(QWidget* parent, std::function<QString()> tip)
    : QAbstractButton(parent), m_tip(std::move(tip)) {
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
}

void StateDot::setCaption(const QString& caption) {
    setText(caption);
    setAccessibleName(caption + QLatin1Char(' ') + m_age);
}

void StateDot::setState(Tone tone, const QString& age) {
    if (tone == m_tone && age == m_age) {
        return;
    }
    m_tone = tone;
    m_age = age;
    // The text stays: another one would lay the whole bar out anew.
    setAccessibleName(text() + QLatin1Char(' ') + m_age);
    update();
}

QColor StateDot::colour() const {
    return m_tone == kOk ? m_okColour : m_tone == kWarn ? m_warnColour : m_dangerColour;
}

int StateDot::digitWidth() const {
    const QFontMetrics metrics = fontMetrics();
    int widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        widest = std::max(widest, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    return widest;
}

int StateDot::ageWidth(const QString& age) const {
    const QFontMetrics metrics = fontMetrics();
    const int digit = digitWidth();
    int width = 0;
    for (const QChar c : age) {
        width += c.isDigit() ? digit : metrics.horizontalAdvance(c);
    }
    return width;
}

QSize StateDot::sizeHint() const {
    ensurePolished();
    const int age = std::max(ageWidth(QStringLiteral("00.0 s")), ageWidth(QStringLiteral("00 min")));
    const int width = 2 * kSide + kDot + kGap + fontMetrics().horizontalAdvance(text()) + 2 * kGap + age;
    return {width, fontMetrics().height()};
}

QSize StateDot::minimumSizeHint() const { return {0, 0}; }

void StateDot::paintEvent(QPaintEvent* /*e*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour());
    painter.drawEllipse(kSide, (height() - kDot) / 2, kDot, kDot);

    const int left = kSide + kDot + kGap;
    painter.setPen(m_captionColour);
    painter.drawText(QRect(left, 0, width() - left, height()), Qt::AlignLeft | Qt::AlignVCenter, text());

    painter.setPen(m_tone == kOk ? m_ageColour : colour());
    const QFontMetrics metrics = fontMetrics();
    const int digit = digitWidth();
    int x = left + metrics.horizontalAdvance(text()) + 2 * kGap;
    for (const QChar c : m_age) {
        const int cell = c.isDigit() ? digit : metrics.horizontalAdvance(c);
        painter.drawText(QRect(x, 0, cell, height()), Qt::AlignCenter, QString(c));
        x += cell;
    }
}

void StateDot::changeEvent(QEvent* e) {
    QAbstractButton::changeEvent(e);
    if (e->type() == QEvent::StyleChange || e->type() == QEvent::FontChange) {
        updateGeometry();
        update();
    }
}

bool StateDot::event(QEvent* e) {
    if (e->type() == QEvent::ToolTip) {
        QToolTip::showText(static_cast<QHelpEvent*>(e)->globalPos(), m_tip(), this);
        return true;
    }
    return QAbstractButton::event(e);
}

bool StateDot::hitButton(const QPoint& pos) const {
    return rect().contains(pos) && mapTo(window(), pos).y() < window()->height() - kWindowEdge;
}
