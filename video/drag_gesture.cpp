#include "video/drag_gesture.h"

#include <cmath>

#include "base/numbers.h"

namespace sorvane {

namespace {

std::int16_t rate(int delta, int extent, double sign) {
    const double fraction = std::fabs(static_cast<double>(delta)) / extent;
    return truncateToI16(sign * DragGesture::kFullRate * fraction);
}

}  // namespace

DragStep DragGesture::move(PixelPoint pos, int widget_width, int widget_height) {
    DragStep step;
    const int dx = pos.x - start_pos.x;
    const int dy = pos.y - start_pos.y;
    if (!pressed) {
        pressed = true;
        start_pos = pos;
        step.kind = DragStep::kArmed;
    } else if (!dragging) {
        if (std::hypot(static_cast<double>(dx), static_cast<double>(dy)) > kDeadRadius) {
            dragging = true;
            step.kind = DragStep::kStarted;
        }
    } else {
        step.kind = DragStep::kRate;
        // A delta of exactly 0 counts as the negative side; its rate is 0 all the same.
        step.rate_x = rate(dx, widget_width, dx > 0 ? 1.0 : -1.0);
        step.rate_y = rate(dy, widget_height, dy < 0 ? 1.0 : -1.0);
    }
    return step;
}

bool DragGesture::release() {
    const bool was_dragging = dragging;
    pressed = false;
    dragging = false;
    return was_dragging;
}

}  // namespace sorvane
