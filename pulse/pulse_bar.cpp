#include "pulse/pulse_bar.h"

#include <QHBoxLayout>
#include <QStatusBar>

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

void PulseBar::follow() {
    const bool wanted = m_area.window()->isFullScreen() && m_area.isVisible() && m_board.trouble();
    if (wanted) {
        const QPoint corner = m_area.mapToGlobal(QPoint(kInset, m_area.height() - kInset));
        const QPoint place = corner - QPoint(0, layout()->totalSizeHint().height());
        if (pos() != place) {
            move(place);
        }
    }
    if (wanted == isHidden()) {
        setVisible(wanted);
    }
}

void showPulse(const PulseBoard& board, QStatusBar& status_bar, const QWidget& area,
               const std::function<void(PulseSource)>& chosen) {
    auto* strip = new PulseStrip(board, &status_bar);
    strip->setObjectName(QStringLiteral("pulse_strip"));
    status_bar.insertPermanentWidget(0, strip);
    auto* bar = new PulseBar(board, area);
    for (PulseStrip* each : {strip, &bar->strip()}) {
        QObject::connect(each, &PulseStrip::chosen, each, chosen);
    }
}
