#include "widgets/frameless_edges.h"

#include <cmath>
#include <cstdlib>

namespace {

constexpr int kMargin = 5;
constexpr double kClickRadius = 10.0;

}  // namespace

int FramelessEdges::hit(const QPoint& point, const QRect& frame) {
    int edges = 0;
    edges |= std::abs(point.y() - frame.top()) < kMargin ? kTop : 0;
    edges |= std::abs(point.x() - frame.left()) < kMargin ? kLeft : 0;
    edges |= std::abs(point.x() - frame.right()) < kMargin ? kRight : 0;
    edges |= std::abs(point.y() - frame.bottom()) < kMargin ? kBottom : 0;
    return edges;
}

Qt::CursorShape FramelessEdges::cursor(int edges) {
    switch (edges) {
        case kTop:
        case kBottom:
            return Qt::SizeVerCursor;
        case kLeft:
        case kRight:
            return Qt::SizeHorCursor;
        case kTop | kLeft:
        case kRight | kBottom:
            return Qt::SizeFDiagCursor;
        case kTop | kRight:
        case kLeft | kBottom:
            return Qt::SizeBDiagCursor;
        default:
            return Qt::ArrowCursor;
    }
}

// Opposite edges, and three of them at once (a window a few pixels high), move nothing.
QRect FramelessEdges::moved(const QRect& pressed, int edges, const QPoint& offset) {
    if (cursor(edges) == Qt::ArrowCursor) {
        return pressed;
    }
    QRect moved = pressed;
    if ((edges & kTop) != 0) {
        moved.setTop(pressed.top() + offset.y());
    }
    if ((edges & kBottom) != 0) {
        moved.setBottom(pressed.bottom() + offset.y());
    }
    if ((edges & kLeft) != 0) {
        moved.setLeft(pressed.left() + offset.x());
    }
    if ((edges & kRight) != 0) {
        moved.setRight(pressed.right() + offset.x());
    }
    return moved;
}

bool FramelessEdges::isDrag(const QPoint& offset) {
    return std::hypot(static_cast<double>(offset.x()), static_cast<double>(offset.y())) > kClickRadius;
}
