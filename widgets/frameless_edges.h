// Resizing a window without a frame by its edges: pure geometry.
#pragma once

#include <QPoint>
#include <QRect>
#include <Qt>

// Points are global.
class FramelessEdges {
public:
    // Bits of the edges within 5 pixels of a point, strictly closer.
    enum Edge { kTop = 1, kLeft = 2, kRight = 4, kBottom = 8 };

    static int hit(const QPoint& point, const QRect& frame);
    static Qt::CursorShape cursor(int edges);
    // `pressed` with its edges moved by `offset`; the same rectangle for edges that no gesture moves.
    static QRect moved(const QRect& pressed, int edges, const QPoint& offset);
    // Farther from the press than an unsteady hand on a click: more than 10 pixels.
    static bool isDrag(const QPoint& offset);
};
