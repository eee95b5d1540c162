// Mouse gestures on the picture through the real window, and the bytes that reach the pod.
#include <QDialog>
#include <QWheelEvent>
#include <algorithm>

#include "oskel/oskel.h"
#include "video_fixture.h"

namespace {

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }
// A frame of the single mode with a payload of four bytes; the check byte by hand.
const QByteArray kTrackStop = hex("fb2caa063b00000000003d");
const QByteArray kRateStop =
    hex("fb2caa06700000000000"
        "76");
const QByteArray kSwitchPress =
    hex("fb2caa06310000000000"
        "37");

class Gestures : public VideoTest {
protected:
    // Single mode: each command leaves at once, as a variable frame.
    void startLinked(bool single = true, const QMap<QString, QVariant>& more = {}) {
        ASSERT_TRUE(pod.bind());
        QMap<QString, QVariant> values = {{"common/send_single", single},
                                          {"common/video_display_mode", 2},
                                          {"connection/destination_address", "127.0.0.1"},
                                          {"connection/destination_port", pod.port()},
                                          {"connection/local_bind_port", 0}};
        for (auto it = more.begin(); it != more.end(); ++it) {
            values[it.key()] = it.value();
        }
        start(values);
        connection().comboBox->addItem("127.0.0.1");
        connection().comboBox->setCurrentIndex(connection().comboBox->count() - 1);
        window->OnUdpConnect();
        ASSERT_EQ(window->linkState(), kLinkUdp);
        ASSERT_GT(win1()->width(), 200);
        ASSERT_GT(win1()->height(), 200);
    }

    // All datagrams up to and with the first that satisfies the predicate; empty after the deadline.
    std::vector<QByteArray> receive(const std::function<bool(const QByteArray&)>& last) {
        std::vector<QByteArray> all;
        const bool found = waitFor([&] {
            for (const QByteArray& bytes : pod.take()) {
                all.push_back(bytes);
                if (last(bytes)) {
                    return true;
                }
            }
            return false;
        });
        return found ? all : std::vector<QByteArray>();
    }
    // What has been sent until now: a marker is sent behind it and waited for.
    std::vector<QByteArray> sentSoFar() {
        const QByteArray marker("MARK");
        oskel::push_bytes(marker.constData(), marker.size(), in().m_linkHandle());
        std::vector<QByteArray> all = receive([&](const QByteArray& b) { return b == marker; });
        EXPECT_FALSE(all.empty());
        if (!all.empty()) {
            all.pop_back();
        }
        return all;
    }

    // To the widget's own native window, at once, with the button that is held; from there the toolkit finds
    // its way as it does for the window system's events.
    void mouse(QWidget* w, QEvent::Type type, const QPoint& p, Qt::MouseButton button) {
        if (type == QEvent::MouseButtonPress) {
            held |= button;
        }
        if (type == QEvent::MouseButtonRelease) {
            held &= ~Qt::MouseButtons(button);
        }
        QMouseEvent e(type, p, p, w->mapToGlobal(p), button, held, Qt::NoModifier);
        QCoreApplication::sendEvent(w->windowHandle(), &e);
    }
    void press(QWidget* w, const QPoint& p, Qt::MouseButton b = Qt::LeftButton) {
        mouse(w, QEvent::MouseButtonPress, p, b);
    }
    void move(QWidget* w, const QPoint& p) { mouse(w, QEvent::MouseMove, p, Qt::NoButton); }
    void release(QWidget* w, const QPoint& p, Qt::MouseButton b = Qt::LeftButton) {
        mouse(w, QEvent::MouseButtonRelease, p, b);
    }
    void click(QWidget* w, const QPoint& p, Qt::MouseButton b = Qt::LeftButton) {
        press(w, p, b);
        release(w, p, b);
    }
    void wheel(QWidget* w, int delta) const {
        QWheelEvent e(QPointF(50, 50), w->mapToGlobal(QPoint(50, 50)), QPoint(), QPoint(0, delta),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(w, &e);
    }
    // Until the rate limit of a drag's frames lets the next one through.
    void passRateLimit() const {
        QElapsedTimer clock;
        clock.start();
        waitFor([&] { return clock.elapsed() > 60; });
    }
    // Held at the middle and moved past the dead radius.
    QPoint beginDrag(QWidget* w) {
        const QPoint start = w->rect().center();
        press(w, start);
        move(w, start);
        move(w, start + QPoint(11, 0));
        passRateLimit();
        return start;
    }
    static int count(const std::vector<QByteArray>& all, const QByteArray& what) {
        return static_cast<int>(std::count(all.begin(), all.end(), what));
    }

    Pod pod;
    Qt::MouseButtons held = Qt::NoButton;
};

QByteArray trackPointFrame(std::int16_t x, std::int16_t y) {
    QByteArray f = hex("fb2caa063a00");
    for (std::int16_t v : {x, y}) {
        f.append(static_cast<char>(v & 0xff));
        f.append(static_cast<char>((v >> 8) & 0xff));
    }
    char check = 0;
    for (int i = 3; i < f.size(); ++i) {
        check = static_cast<char>(check ^ f[i]);
    }
    f.append(check);
    return f;
}
QByteArray rateFrame(std::int16_t x, std::int16_t y) {
    QByteArray f = trackPointFrame(x, y);
    f[4] = 0x70;
    f[10] = static_cast<char>(f[10] ^ 0x3a ^ 0x70);
    return f;
}

}  // namespace

TEST_F(Gestures, PressAndReleaseWithoutAMoveIsAClickOnThePoint) {
    startLinked();
    in().frame_width() = win1()->width() * 2;
    in().frame_height() = win1()->height() * 2;
    const QPoint at(win1()->width() / 2 + 30, win1()->height() / 2 - 40);
    click(win1(), at);
    const auto sent = sentSoFar();
    ASSERT_EQ(sent.size(), 1U);
    const int x = 2 * at.x() - win1()->width();
    const int y = win1()->height() - 2 * at.y();
    // One pixel of the picture either way is the conversion's rounding.
    bool matches = false;
    for (int dx = -2; dx <= 2; ++dx) {
        for (int dy = -2; dy <= 2; ++dy) {
            matches = matches || sent[0] == trackPointFrame(static_cast<std::int16_t>(x + dx),
                                                            static_cast<std::int16_t>(y + dy));
        }
    }
    EXPECT_TRUE(matches) << sent[0].toHex().constData();
}

TEST_F(Gestures, ClickOnABarSendsNothing) {
    startLinked();
    in().frame_width() = win1()->width();
    in().frame_height() = win1()->height() * 3;  // bars left and right, a third of the width each
    click(win1(), QPoint(10, win1()->height() / 2));
    click(win1(), QPoint(win1()->width() - 10, win1()->height() / 2));
    EXPECT_TRUE(sentSoFar().empty());
    click(win1(), win1()->rect().center());
    EXPECT_EQ(sentSoFar().size(), 1U);
}

TEST_F(Gestures, LeftClickWhileTrackingAcquiresAnew) {
    startLinked();
    in().m_tracking() = true;
    click(win1(), win1()->rect().center());
    const auto sent = sentSoFar();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].mid(4, 2), hex("3a00"));
}

TEST_F(Gestures, RightClickStopsTrackingWhetherTrackingOrNot) {
    startLinked();
    for (bool tracking : {false, true}) {
        in().m_tracking() = tracking;
        click(win1(), QPoint(40, 40), Qt::RightButton);
        EXPECT_EQ(sentSoFar(), std::vector<QByteArray>{kTrackStop});
        EXPECT_NE(in().m_stopTimer(), 0);
        EXPECT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
        EXPECT_TRUE(sentSoFar().empty());  // the stop of this command has no frame of its own
    }
}

TEST_F(Gestures, SecondWindowHasNoClicks) {
    startLinked();
    click(win2(), win2()->rect().center());
    click(win2(), win2()->rect().center(), Qt::RightButton);
    EXPECT_TRUE(sentSoFar().empty());
}

TEST_F(Gestures, DragRightSendsPositiveAzimuthAndTheStopOnce) {
    startLinked();
    const QPoint start = beginDrag(win1());
    EXPECT_TRUE(in().m_dragOverlay()->isVisible());
    move(win1(), start + QPoint(win1()->width() / 4, 0));
    auto sent = sentSoFar();
    ASSERT_EQ(sent.size(), 1U);
    const auto rate = static_cast<std::int16_t>(40.0 * (win1()->width() / 4) / win1()->width());
    EXPECT_EQ(sent[0].toHex(), rateFrame(rate, 0).toHex());
    release(win1(), start + QPoint(win1()->width() / 4, 0));
    sent = sentSoFar();
    EXPECT_EQ(sent, std::vector<QByteArray>{kRateStop});
    EXPECT_FALSE(in().m_dragOverlay()->isVisible());
    EXPECT_FALSE(in().m_dragRing()->isVisible());
    EXPECT_FALSE(in().m_dragDot()->isVisible());
}

TEST_F(Gestures, DragUpIsPositivePitchAndLeavesAzimuthAtZero) {
    startLinked();
    const QPoint start = beginDrag(win1());
    move(win1(), start - QPoint(0, win1()->height() / 4));
    const auto sent = sentSoFar();
    ASSERT_EQ(sent.size(), 1U);
    const auto rate = static_cast<std::int16_t>(40.0 * (win1()->height() / 4) / win1()->height());
    EXPECT_EQ(sent[0].toHex(), rateFrame(0, rate).toHex());
    release(win1(), start);
}

TEST_F(Gestures, DragLeftAndDownOnTheSecondWindowIsNegative) {
    startLinked();
    const QPoint start = beginDrag(win2());
    move(win2(), start + QPoint(-win2()->width() / 4, win2()->height() / 4));
    const auto sent = sentSoFar();
    ASSERT_GE(sent.size(), 1U);
    const auto x = static_cast<std::int16_t>(-40.0 * (win2()->width() / 4) / win2()->width());
    const auto y = static_cast<std::int16_t>(-40.0 * (win2()->height() / 4) / win2()->height());
    EXPECT_EQ(sent.back().toHex(), rateFrame(x, y).toHex());
    release(win2(), start);
    EXPECT_EQ(count(sentSoFar(), kRateStop), 1);
}

TEST_F(Gestures, ExactlyTenPixelsStayAClick) {
    startLinked();
    const QPoint start = win1()->rect().center();
    press(win1(), start);
    move(win1(), start);
    move(win1(), start + QPoint(6, 8));
    move(win1(), start + QPoint(-10, 0));
    EXPECT_FALSE(in().m_dragOverlay()->isVisible());
    release(win1(), start);
    const auto sent = sentSoFar();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].mid(4, 2), hex("3a00"));
}

TEST_F(Gestures, DragThatEndsOverABarStillSendsTheStop) {
    startLinked();
    in().frame_width() = win1()->width();
    in().frame_height() = win1()->height() * 3;
    const QPoint start = beginDrag(win1());
    move(win1(), QPoint(5, start.y()));
    sentSoFar();
    release(win1(), QPoint(5, start.y()));
    EXPECT_EQ(sentSoFar(), std::vector<QByteArray>{kRateStop});
}

TEST_F(Gestures, FramesOfADragAreLimitedAndTheStopIsNot) {
    startLinked();
    const QPoint start = beginDrag(win1());
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 50; ++i) {
        QMouseEvent e(QEvent::MouseMove, start + QPoint(100 + i, 0), Qt::NoButton, Qt::LeftButton,
                      Qt::NoModifier);
        QCoreApplication::sendEvent(win1(), &e);
    }
    const auto most = static_cast<std::size_t>(1 + clock.elapsed() / 40);
    release(win1(), start);
    const auto sent = sentSoFar();
    EXPECT_GE(sent.size(), 2U);
    EXPECT_LE(sent.size(), most + 1) << "the stop is one more";
    EXPECT_EQ(count(sent, kRateStop), 1);
    EXPECT_EQ(sent.back(), kRateStop);
}

TEST_F(Gestures, MarksStandAtTheStartAndAtThePointer) {
    startLinked();
    const QPoint start = beginDrag(win1());
    const QPoint end = start + QPoint(60, -25);
    move(win1(), end);
    const auto centre = [](QWidget* mark) {
        return mark->mapToGlobal(QPoint(mark->width() / 2, mark->height() / 2));
    };
    EXPECT_EQ(centre(in().m_dragRing()), win1()->mapToGlobal(start));
    EXPECT_EQ(centre(in().m_dragDot()), win1()->mapToGlobal(end));
    // Masked to the two marks: nothing else of it covers the picture.
    const QRegion mask = in().m_dragOverlay()->mask();
    EXPECT_TRUE(mask.contains(in().m_dragDot()->geometry().center()));
    EXPECT_FALSE(mask.contains(in().m_dragDot()->geometry().center() + QPoint(40, 40)));
    EXPECT_TRUE(window->isActiveWindow());
    release(win1(), end);
}

TEST_F(Gestures, WhateverEndsTheHoldSendsTheStopOnce) {
    startLinked();
    const std::vector<std::pair<const char*, std::function<void()>>> ends = {
        {"another application", [] { emit qApp->applicationStateChanged(Qt::ApplicationInactive); }},
        {"disabled", [this] { win1()->setEnabled(false); }},
        {"hidden", [this] { win1()->hide(); }},
        {"modal box",
         [this] {
             auto* box = new QDialog(window.get());
             box->setAttribute(Qt::WA_DeleteOnClose);
             box->setModal(true);
             box->show();
         }},
    };
    for (const auto& [name, end] : ends) {
        const QPoint start = beginDrag(win1());
        ASSERT_TRUE(in().m_dragOverlay()->isVisible()) << name;
        end();
        EXPECT_EQ(sentSoFar(), std::vector<QByteArray>{kRateStop}) << name;
        EXPECT_FALSE(in().m_dragOverlay()->isVisible()) << name;
        // The button is still down: neither a new drag nor a click comes of it.
        for (int d : {0, 20, 40}) {
            QMouseEvent e(QEvent::MouseMove, start + QPoint(d, 0), Qt::NoButton, Qt::LeftButton,
                          Qt::NoModifier);
            QCoreApplication::sendEvent(win1(), &e);
        }
        QMouseEvent up(QEvent::MouseButtonRelease, start, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(win1(), &up);
        EXPECT_TRUE(sentSoFar().empty()) << name;
        for (QDialog* box : window->findChildren<QDialog*>()) {
            if (box->isModal()) {
                box->close();
            }
        }
        win1()->setEnabled(true);
        win1()->show();
        release(win1(), start);
        ASSERT_TRUE(
            waitFor([this] { return win1()->isVisible() && QApplication::activeModalWidget() == nullptr; }));
        sentSoFar();
    }
}

TEST_F(Gestures, ClosingTheWindowDuringADragSendsTheStop) {
    startLinked();
    beginDrag(win1());
    sentSoFar();
    window->close();
    const auto sent = receive([](const QByteArray& b) { return b == kRateStop; });
    EXPECT_EQ(count(sent, kRateStop), 1);
}

// No tick has seen the release yet when the window goes.
TEST_F(Gestures, ClosingTheWindowDuringADragEndsTheRateInPeriodicModeToo) {
    startLinked(false, {{"common/send_period_ms", 1000}});
    const QPoint start = beginDrag(win1());
    move(win1(), start + QPoint(win1()->width() / 4, 0));
    sentSoFar();
    window->close();
    const auto sent = receive([](const QByteArray& b) {
        return b.size() == 44 && b[37] == 0x70 && b.mid(38, 4) == QByteArray(4, '\0');
    });
    EXPECT_FALSE(sent.empty());
}

TEST_F(Gestures, EdgeResizeHoldsTheDragBack) {
    startLinked();
    const QPoint start = win1()->rect().center();
    press(win1(), start);
    in().m_hitEdge() = 4;
    for (int d : {0, 20, 40, 60}) {
        move(win1(), start + QPoint(d, 0));
    }
    EXPECT_FALSE(in().m_dragOverlay()->isVisible());
    in().m_hitEdge() = 0;
    release(win1(), start);
}

TEST_F(Gestures, WheelZoomsByWindow) {
    startLinked();
    in().m_telemetry() = {};  // source 0
    const std::vector<std::tuple<QWidget*, int, const char*>> notches = {
        {win1(), 120,
         "fb2caa0650000f000000"
         "59"},
        {win1(), -120,
         "fb2caa06500010000000"
         "46"},
        {win2(), 120,
         "fb2caa06500001070000"
         "50"},
        {win2(), -120,
         "fb2caa06500002070000"
         "53"},
        {win2(), 0,
         "fb2caa06500002070000"
         "53"},
    };
    for (const auto& [widget, delta, frame] : notches) {
        wheel(widget, delta);
        EXPECT_FALSE(in().m_zoomTimers().isEmpty());
        const auto sent = sentSoFar();
        ASSERT_FALSE(sent.empty());
        EXPECT_EQ(sent[0].toHex(), QByteArray(frame));
        ASSERT_TRUE(waitFor([this] { return in().m_zoomTimers().isEmpty(); }));
        sentSoFar();
    }
}

TEST_F(Gestures, MiddleButtonOfTheFirstWindowSwitchesTheSource) {
    startLinked();
    press(win1(), QPoint(30, 30), Qt::MiddleButton);
    EXPECT_EQ(sentSoFar(), std::vector<QByteArray>{kSwitchPress});
    in().m_frameRelease() = false;
    release(win1(), QPoint(30, 30), Qt::MiddleButton);
    EXPECT_TRUE(in().m_frameRelease());
    click(win2(), QPoint(30, 30), Qt::MiddleButton);
    EXPECT_TRUE(sentSoFar().empty());
}

TEST_F(Gestures, CollapsedWidgetSendsNoClick) {
    startLinked();
    win1()->setMinimumSize(0, 0);
    win1()->resize(0, win1()->height());
    QMouseEvent up(QEvent::MouseButtonRelease, QPoint(0, 40), Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(win1(), &up);
    EXPECT_TRUE(sentSoFar().empty());
}

TEST_F(Gestures, PeriodicModeCarriesThePointOnceAndTheRateWhileDragged) {
    startLinked(false);
    click(win1(), win1()->rect().center());
    const auto is_point = [](const QByteArray& b) { return b.size() == 44 && b[2] == 0x3a; };
    EXPECT_FALSE(receive(is_point).empty());

    const QPoint start = beginDrag(win1());
    move(win1(), start + QPoint(win1()->width() / 4, 0));
    const auto rate = static_cast<char>(40.0 * (win1()->width() / 4) / win1()->width());
    const auto is_rate = [rate](const QByteArray& b) {
        return b.size() == 44 && b[37] == 0x70 && b[38] == rate && b[40] == 0;
    };
    auto seen = receive(is_rate);
    EXPECT_FALSE(seen.empty());
    // The point went out exactly once.
    EXPECT_EQ(std::count_if(seen.begin(), seen.end(), is_point), 0);
    release(win1(), start);
    const auto is_zero_rate = [](const QByteArray& b) {
        return b.size() == 44 && b[37] == 0x70 && b.mid(38, 4) == QByteArray(4, '\0');
    };
    EXPECT_FALSE(receive(is_zero_rate).empty());
}
