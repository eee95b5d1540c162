// Turns the moves and releases of a held left button into servo rates: Idle, Armed, Dragging.
#pragma once

#include <cstdint>

namespace sorvane {

struct PixelPoint {
    int x = 0;
    int y = 0;
};

// What a mouse move asks for.
struct DragStep {
    enum Kind {
        kNothing,
        kArmed,    // the hold was seen; start_pos is set
        kStarted,  // the dead radius was left: show the ring at start_pos
        kRate,     // send rate_x, rate_y; show the dot at the point of the move
    };
    Kind kind = kNothing;
    std::int16_t rate_x = 0;  // azimuth, positive to the right; 40 at a full widget width
    std::int16_t rate_y = 0;  // pitch, positive upward; 40 at a full widget height
};

// One a widget, no clock, no I/O. Points are widget pixels, y downward.
struct DragGesture {
    // A move of at most this many pixels from start_pos keeps a click a click.
    static constexpr double kDeadRadius = 10.0;
    static constexpr double kFullRate = 40.0;

    // A move with the left button held. Sizes of 0 are safe and give rates of 0.
    DragStep move(PixelPoint pos, int widget_width, int widget_height);
    // Any button's release, or whatever else ends the hold. True exactly once a drag: the stop is to be sent.
    bool release();

    bool pressed = false;   // the left button has been seen held during a move
    bool dragging = false;  // the dead radius has been left
    PixelPoint start_pos;
};

}  // namespace sorvane
