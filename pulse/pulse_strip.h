// A row of dots, one for each source in use.
#pragma once

#include <QWidget>
#include <array>

#include "pulse/pulse_board.h"

class StateDot;

// Follows its board; a source that is not in use has no dot. The board outlives it. GUI thread.
class PulseStrip : public QWidget {
    Q_OBJECT

public:
    PulseStrip(const PulseBoard& board, QWidget* parent);

    const StateDot& dot(PulseSource source) const { return *m_dots[static_cast<std::size_t>(source)]; }

    QSize minimumSizeHint() const override;

signals:
    void chosen(PulseSource source);
    // Another set of dots is shown: it needs another width.
    void widthChanged();

private:
    void follow();
    void retranslate();

    const PulseBoard& m_board;
    std::array<StateDot*, kPulseSources.size()> m_dots;
};
