// The strip in full screen, where there is no status bar: a small bar over the picture while something is not
// ok.
#pragma once

#include <functional>

#include "pulse/pulse_strip.h"
#include "widgets/my_trans_dlg.h"

class QStatusBar;

// Comes and goes with what its board tells; takes presses on its dots, never activation. Board and area
// outlive it, and `area` lies in the window that owns it. GUI thread.
class PulseBar : public MyTransDlg {
    Q_OBJECT

public:
    // area: it lies in the lower left corner of that widget, beside the panes that are there already.
    PulseBar(const PulseBoard& board, const QWidget& area);

    PulseStrip& strip() { return *m_strip; }

protected:
    void paintEvent(QPaintEvent* e) override;

private:
    void follow();
    QPoint place() const;

    const PulseBoard& m_board;
    const QWidget& m_area;
    PulseStrip* m_strip;
};

// A strip at the left of the status bar's permanent widgets, and a bar over `area`. chosen: a dot was
// clicked. The window owns both.
void showPulse(const PulseBoard& board, QStatusBar& status_bar, const QWidget& area,
               const std::function<void(PulseSource)>& chosen);
