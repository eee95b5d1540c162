// What of a chart stands still while its curves run: grid, axes, labels, titles, painted once and then
// copied.
#pragma once

#include <QBrush>
#include <QPainter>
#include <QPixmap>
#include <QPoint>
#include <QSize>
#include <vector>

class QGraphicsItem;

// A chart paints each line and each label of its axes anew for every sample, about 200 items, most of them as
// they were. The parts that have not changed since the last time are kept as a picture with the ground of the
// view and are left out of the scene's own painting; a part that changes time after time (the numbers below
// the X axis) stays with the scene. Whether a part has changed is read off its items at each painting, so
// nobody has to tell. The curves and the legend are none of it. GUI thread.
class StillParts {
public:
    // What the picture is to cover: the view's area with its ground, its place in the scene and how it draws.
    struct Area {
        QSize size;       // of the viewport
        QPoint origin;    // of the viewport's corner in the scene
        qreal ratio = 1;  // device pixels to one of the view
        QBrush ground;
        QPainter::RenderHints hints;
        bool operator==(const Area& other) const {
            return size == other.size && origin == other.origin && ratio == other.ratio &&
                   ground == other.ground && hints == other.hints;
        }
    };

    // Before each painting: `chart` is the item whose children are the parts. Those found get a graphics
    // effect, owned by them, that leaves them out.
    void look(const QGraphicsItem& chart, const Area& area);
    // Opaque; lies at the origin of the area last looked at.
    const QPixmap& picture() const { return m_picture; }

private:
    // The items are compared and painted within look() only.
    struct Layer {
        std::vector<QGraphicsItem*> items;
        bool changed = false;
    };
    void paint(QPixmap& picture, const Layer& layer) const;

    Area m_area;
    Layer m_lines, m_texts;
    QPixmap m_ground;   // with the lines, which cost most and change least
    QPixmap m_picture;  // with the texts as well
};
