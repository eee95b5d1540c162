// Gestures on the window's edge where a picture reaches it, by the real pointer: a resize is no click.
#include "korvath_fixture.h"
#include "link/command_codes.h"
#include "tests/widgets/x11_pointer.h"

namespace {

class EdgeClick : public KorvathTest {
protected:
    void SetUp() override {
        start({{"system_function/send_single", true}});
        window->showNormal();
        window->setGeometry(300, 200, 1200, 800);
        window->activateWindow();
        ASSERT_TRUE(waitFor([this] {
            const QRect g(picture()->mapToGlobal(QPoint(0, 0)), picture()->size());
            m_edge = QPoint(window->geometry().left() + 1, g.center().y() + 100);
            return window->width() == 1200 && g.contains(m_edge) &&
                   window->childAt(window->mapFromGlobal(m_edge)) == picture();
        }));
        ASSERT_TRUE(m_pointer.available());
        // The size of the encoded picture is that of the widget, so that every point of it can be clicked.
        in().frame_width() = picture()->width();
        in().frame_height() = picture()->height();
        in().m_lastCode() = 0;
    }
    QWidget* picture() const { return ui().videoWin1; }
    void press(const QPoint& at) {
        m_pointer.moveTo(at.x() + 20, at.y());
        m_pointer.moveTo(at.x(), at.y());
        m_pointer.press(1);
        ASSERT_TRUE(waitFor([this] { return window->edgeResizing(); }));
    }
    void release() {
        m_pointer.release(1);
        ASSERT_TRUE(waitFor([this] { return !window->edgeResizing(); }));
    }
    bool clicked() const { return in().m_lastCode() == sorvane::CMD_TRACK_POINT; }

    X11Pointer m_pointer;
    QPoint m_edge;
};

TEST_F(EdgeClick, PressedAndReleasedInPlaceItIsAClick) {
    press(m_edge);
    release();
    EXPECT_TRUE(clicked());
}

TEST_F(EdgeClick, AResizeIsNone) {
    press(m_edge);
    m_pointer.moveTo(m_edge.x() + 40, m_edge.y());
    ASSERT_TRUE(waitFor([this] { return window->width() == 1160; }));
    release();
    EXPECT_FALSE(clicked());
}

TEST_F(EdgeClick, AResizeAndBackIsNone) {
    press(m_edge);
    m_pointer.moveTo(m_edge.x() + 40, m_edge.y());
    ASSERT_TRUE(waitFor([this] { return window->width() == 1160; }));
    m_pointer.moveTo(m_edge.x(), m_edge.y());
    ASSERT_TRUE(waitFor([this] { return window->width() == 1200; }));
    release();
    EXPECT_FALSE(clicked());
}

// The edge that is held moves sideways only.
TEST_F(EdgeClick, AWayAlongTheEdgeIsNone) {
    press(m_edge);
    m_pointer.moveTo(m_edge.x(), m_edge.y() - 11);
    ASSERT_TRUE(waitFor([this] { return QCursor::pos() == m_edge - QPoint(0, 11); }));
    release();
    EXPECT_FALSE(clicked());
    press(m_edge);
    m_pointer.moveTo(m_edge.x(), m_edge.y() - 6);
    release();
    EXPECT_TRUE(clicked());
}

}  // namespace
