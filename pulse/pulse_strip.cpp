#include "pulse/pulse_strip.h"

#include <QEvent>
#include <QHBoxLayout>

#include "base/age_text.h"
#include "widgets/state_dot.h"

using sorvane::PulseState;

namespace {

constexpr const char* kNames[] = {"pulse_picture1", "pulse_picture2", "pulse_report", "pulse_sending",
                                  "pulse_inertial"};

StateDot::Tone toneOf(PulseState state) {
    return state == PulseState::kOk     ? StateDot::kOk
           : state == PulseState::kWarn ? StateDot::kWarn
                                        : StateDot::kDanger;
}

}  // namespace

PulseStrip::PulseStrip(const PulseBoard& board, QWidget* parent) : QWidget(parent), m_board(board) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (const PulseSource source : kPulseSources) {
        const auto i = static_cast<std::size_t>(source);
        m_dots[i] = new StateDot(this, [&board, source] { return board.tip(source); });
        m_dots[i]->setObjectName(QLatin1String(kNames[i]));
        m_dots[i]->hide();
        layout->addWidget(m_dots[i]);
        connect(m_dots[i], &StateDot::clicked, this, [this, source] { emit chosen(source); });
    }
    retranslate();
    connect(&board, &PulseBoard::looked, this, &PulseStrip::follow);
    connect(&board, &PulseBoard::languageChanged, this, &PulseStrip::retranslate);
}

// A dot that shows what it showed already costs nothing.
void PulseStrip::follow() {
    bool others = false;
    for (const PulseSource source : kPulseSources) {
        StateDot& dot = *m_dots[static_cast<std::size_t>(source)];
        const sorvane::PulseReading reading = m_board.reading(source);
        const bool absent = reading.state == PulseState::kAbsent;
        if (!absent) {
            dot.setState(toneOf(reading.state), QString::fromStdString(sorvane::ageText(reading.age_ms)));
        }
        if (absent != dot.isHidden()) {
            dot.setHidden(absent);
            others = true;
        }
    }
    if (others) {
        emit widthChanged();
    }
}

void PulseStrip::retranslate() {
    for (const PulseSource source : kPulseSources) {
        m_dots[static_cast<std::size_t>(source)]->setCaption(PulseBoard::caption(source));
    }
    emit widthChanged();
}

// A narrow window cuts the strip before it is kept wide by it.
QSize PulseStrip::minimumSizeHint() const { return {0, QWidget::minimumSizeHint().height()}; }
