// The title strip of a window that has no frame.
#pragma once

#include <QWidget>

// Nothing but a widget with a name of its own, so that style sheets address every title strip by its class.
class title_bar : public QWidget {
    Q_OBJECT

public:
    explicit title_bar(QWidget* parent = nullptr);

protected:
    // A subclass of QWidget shows its style sheet's background only if it paints it.
    void paintEvent(QPaintEvent* e) override;
};
