#include <QX11Info>

#include "widgets/input_connection.h"

std::optional<void*> inputConnection() {
    // On another display system no X11 window could be moved.
    if (!QX11Info::isPlatformX11()) {
        return std::nullopt;
    }
    return QX11Info::display();
}
