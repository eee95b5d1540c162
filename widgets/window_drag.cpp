#include "widgets/window_drag.h"

#include <QWidget>
#include <cstdint>

#include "platform/window_move.h"
#include "widgets/input_connection.h"

bool startWindowDrag(QWidget* widget) {
    const auto connection = inputConnection();
    if (!connection) {
        return false;
    }
    platform::setInputConnection(*connection);
    return platform::startSystemMove(static_cast<std::uintptr_t>(widget->window()->winId()));
}
