// The animated on/off slider of the control pages.
#pragma once

#include <QColor>
#include <QTimer>
#include <QWidget>

// Toggles at each release of the left button, wherever the release falls. GUI thread.
class SwitchControl : public QWidget {
    Q_OBJECT

public:
    explicit SwitchControl(QWidget* parent = nullptr);

    bool isToggled() const { return m_checked; }
    // Sets the state and moves the knob there; emits nothing, so that no command follows.
    void setToggle(bool checked);

    // Track of an unchecked or a disabled switch.
    void setBackgroundColor(const QColor& color);
    void setCheckedColor(const QColor& color);
    // Kept, not painted.
    void setDisabledColor(const QColor& color);

signals:
    // Once for each release by the operator.
    void toggled(bool checked);

protected:
    void paintEvent(QPaintEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;

private slots:
    void onTimeout();

private:
    double knobDiameter() const;

    bool m_checked = false;
    QColor m_background = Qt::gray;
    QColor m_checkedColor = Qt::green;
    QColor m_disabled = QColor(190, 190, 190, 255);
    QColor m_thumb = Qt::white;
    static constexpr qint16 kSpace = 2;  // margin around the knob
    double m_x = kSpace;                 // left edge of the knob, animated
    qint16 m_space = kSpace;
    QTimer m_timer;
};
