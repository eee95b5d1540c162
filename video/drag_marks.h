// The two marks of a drag on the picture, on an overlay over it.
#pragma once

#include <QPoint>

class MyTransDlg;
class QLabel;
class QObject;
class QWidget;

// The window's fields; null until create().
struct DragMarkFields {
    MyTransDlg*& overlay;
    QLabel*& ring;  // 40 x 40, where the drag began
    QLabel*& dot;   // 24 x 24, where it is
};

// The overlay never takes activation. Points are global. GUI thread.
class DragMarks {
public:
    explicit DragMarks(const DragMarkFields& fields);

    // Builds the overlay over `area`; it stays hidden until a drag. The caller deletes it.
    void create(const QWidget& area);
    // Lays the overlay over `area` anew, once it exists.
    void place(const QWidget& area);
    void showRing(const QPoint& centre);
    void showDot(const QPoint& centre);
    void hide();
    // Paints a mark; false when the object is none.
    bool paint(const QObject* object);
    bool isOverlay(const QObject* object) const;

private:
    void showMark(QLabel* mark, const QPoint& centre);

    DragMarkFields m_fields;
};
