#include "pulse/pulse_bar.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <QStatusBar>
#include <QStyleOption>

namespace {

constexpr int kInset = 8;
constexpr int kMargin = 4;

}  // namespace

PulseBar::PulseBar(const PulseBoard& board, const QWidget& area)
    : MyTransDlg(area.window()), m_board(board), m_area(area), m_strip(new PulseStrip(board, this)) {
    setObjectName(QStringLiteral("pulse_bar"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_strip);
    connect(&board, &PulseBoard::looked, this, &PulseBar::follow);
}

// The sheet's background; a window that lets its ground through has none by itself.
void PulseBar::paintEvent(QPaintEvent* /*e*/) {
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}

QPoint PulseBar::place() const {
    const QPoint corner = m_area.mapToGlobal(QPoint(kInset, m_area.height() - kInset));
    QRect rect({}, layout()->totalSizeHint());
    rect.moveBottomLeft(corner);
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (const QWidget* top : tops) {
        const bool pane = qobject_cast<const MyTransDlg*>(top) != nullptr && top != this &&
                          top->isVisible() && !top->testAttribute(Qt::WA_TransparentForMouseEvents);
        if (pane && top->geometry().intersects(rect)) {
            rect.moveLeft(top->geometry().right() + kInset);
        }
    }
    return rect.topLeft();
}

void PulseBar::follow() {
    const bool wanted = m_area.window()->isFullScreen() && m_area.isVisible() && m_board.trouble();
    if (wanted && pos() != place()) {
        move(place());
    }
    if (wanted == isHidden()) {
        setVisible(wanted);
    }
}

void showPulse(const PulseBoard& board, QStatusBar& status_bar, const QWidget& area,
               const std::function<void(PulseSource)>& chosen) {
    auto* strip = new PulseStrip(board, &status_bar);
    strip->setObjectName(QStringLiteral("pulse_strip"));
    // Behind the one text that stands at the left.
    status_bar.insertPermanentWidget(1, strip);
    auto* bar = new PulseBar(board, area);
    for (PulseStrip* each : {strip, &bar->strip()}) {
        QObject::connect(each, &PulseStrip::chosen, each, chosen);
    }
}
