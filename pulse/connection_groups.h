// Which group of the connection dialog a source belongs to.
#pragma once

#include "pulse/pulse_board.h"

class QWidget;
struct ConnectionForm;

// Marks that group (no other) and gives its first field the keyboard; the mark goes with the dialog's next
// hiding. serial: the control link is a serial line. The caller shows the dialog. GUI thread.
void pointAtGroup(const ConnectionForm& form, QWidget& dialog, PulseSource source, bool serial);
