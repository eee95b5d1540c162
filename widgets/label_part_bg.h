// A label with a bar behind its text, grown from the middle towards one side.
#pragma once

#include <QLabel>

class label_part_bg : public QLabel {
    Q_OBJECT

public:
    explicit label_part_bg(QWidget* parent = nullptr);

    // Where the bar ends, as a part of the width: 0.5 shows no bar, 0 fills the left half, 1 the right half.
    void setValue(double value);

protected:
    void paintEvent(QPaintEvent* e) override;

private:
    double m_value = 0.5;
};
