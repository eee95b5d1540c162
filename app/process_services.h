// Services of the process that stand ready beside the window: `instance()` and the plain callbacks are
// declared with the window itself.
#pragma once

#include <QString>

// Registers the program to start with the operator's session; writes only if the registered path differs.
// Windows: the machine's Run key (needs the rights for it). Elsewhere: the desktop's autostart folder.
void setAutoStart(const QString& program_path);
