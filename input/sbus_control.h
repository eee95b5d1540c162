// The strip that shows what the two ends of a remote control's lever do.
#pragma once

#include <QString>
#include <QWidget>

class QLabel;

// A display: it has no effect on any command. Its children are built at the first resize and keep that
// geometry.
class sbus_control : public QWidget {
    Q_OBJECT

public:
    explicit sbus_control(QWidget* parent = nullptr);

    // Functions of the low and the high end.
    void setTexts(const QString& a, const QString& b);
    void setReversed(bool reversed);
    // A release of the mouse toggles the direction.
    void setClickable(bool on);
    bool isForward() const { return forward; }

protected:
    void mouseReleaseEvent(QMouseEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;

private:
    // One half of the strip: a channel value at each end it may show, the function between.
    struct Panel {
        QWidget* widget = nullptr;
        QLabel* centre_value = nullptr;  // "1000", at the strip's middle
        QLabel* function = nullptr;
    };

    void build();
    void refresh();

    bool forward = true;
    bool clickable = false;
    QString text_a;
    QString text_b;
    Panel m_left;
    Panel m_right;
};
