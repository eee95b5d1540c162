// The amber line around a picture that stands still.
#pragma once

#include <functional>

#include "widgets/my_trans_dlg.h"

class QMyVideoWidget;

// Lies around the picture's pixels, on none of them, and under no other window of the program: what those
// show stays whole. Takes neither mouse nor activation. The picture's window owns it. GUI thread.
class FrozenFrame : public MyTransDlg {
    Q_OBJECT

public:
    // frozen: asked by each follow().
    FrozenFrame(const QMyVideoWidget& picture, std::function<bool(int window_id)> frozen);

    // Comes, goes and lies as things stand now; to be called again and again.
    void follow();

protected:
    void paintEvent(QPaintEvent* e) override;

private:
    // The picture's pixels, global.
    QRect pixels() const;

    const QMyVideoWidget& m_picture;
    std::function<bool(int)> m_frozen;
};
