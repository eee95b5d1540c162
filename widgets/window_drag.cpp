#include "widgets/window_drag.h"

#include <QWidget>
#include <cstdint>

#include "platform/window_move.h"

#ifdef Q_OS_LINUX
#include <QX11Info>
#endif

bool startWindowDrag(QWidget* widget) {
#ifdef Q_OS_LINUX
    // Null on another display system, where no X11 window could be moved anyway.
    if (!QX11Info::isPlatformX11()) {
        return false;
    }
    platform::setInputConnection(QX11Info::display());
#endif
    return platform::startSystemMove(static_cast<std::uintptr_t>(widget->window()->winId()));
}
