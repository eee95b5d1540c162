// The window with a game controller in the test's hands, polled when the test says so.
#pragma once

#include <QLabel>
#include <QSlider>
#include <QTimerEvent>
#include <algorithm>
#include <memory>

#include "settings_fixture.h"
#include "tests/fakes/fake_joystick.h"
#include "wire_frames.h"

// Holds back the window's own timers of the poll and of the periodic frame.
class TimerGate : public QObject {
public:
    explicit TimerGate(KorvathAccess window) : m_window(window) {}
    bool open = false;

protected:
    bool eventFilter(QObject* /*target*/, QEvent* e) override {
        if (open || e->type() != QEvent::Timer) {
            return false;
        }
        const int id = static_cast<QTimerEvent*>(e)->timerId();
        return id == m_window.m_tickTimer() || (sends_held && id == m_window.m_periodTimer());
    }

public:
    bool sends_held = false;

private:
    KorvathAccess m_window;
};

class StickTest : public SettingsTest {
protected:
    static constexpr int kProduct = 0x1111;

    void SetUp() override { fake_joystick::reset(); }
    void TearDown() override {
        if (m_gate != nullptr) {
            m_gate->open = true;
        }
        SettingsTest::TearDown();
        fake_joystick::reset();
    }

    // A window whose ticks are the test's own: nothing polls but poll(), nothing sends but tick().
    void startStick(QMap<QString, QVariant> values = {}) {
        if (!values.contains("common/js_enable")) {
            values.insert("common/js_enable", true);
        }
        start(values);
        takeTick();
    }
    // Also after each restart of the window.
    void takeTick() {
        m_gate = std::make_unique<TimerGate>(in());
        window->installEventFilter(m_gate.get());
    }
    void poll() const { fire(in().m_tickTimer()); }
    void plugIn(int buttons = 12, int product = kProduct, std::uint32_t caps = 0x3F) const {
        fake_joystick::plugIn(buttons, product, caps);
        poll();
    }
    void pull() const {
        fake_joystick::stick().plugged = false;
        poll();
    }
    // The position of an axis from -1 to 1, then a poll.
    void moveX(double part) const { move(fake_joystick::stick().state.dwXpos, part); }
    void moveY(double part) const { move(fake_joystick::stick().state.dwYpos, part); }
    void moveZ(double part) const { move(fake_joystick::stick().state.dwZpos, part); }
    void hold(std::uint32_t buttons) const {
        fake_joystick::hold(buttons);
        poll();
    }

    // The link, with the start's own command and the two timers of sending out of the way.
    void link() {
        openUdp();
        letTheStartEnd();
        holdSending();
        take();
    }
    void holdSending() const { m_gate->sends_held = true; }
    // A tick of the periodic frame: the frames that go out by it.
    std::vector<QByteArray> tick() {
        fire(in().m_periodTimer());
        return take();
    }
    // What has been sent since the last call. A frame of our own closes the list; one of that code is no
    // command to anybody.
    std::vector<QByteArray> take() {
        const char mark = 'M';
        window->sendVariableFrame(1026, &mark, 1);
        const QByteArray end = variableFrame(1026, "M");
        const auto arrived = [&] {
            const auto& frames = peer.frames();
            return std::find(frames.begin(), frames.end(), end);
        };
        EXPECT_TRUE(waitFor([&] { return arrived() != peer.frames().end(); }));
        const std::vector<QByteArray> frames(peer.frames().begin(), arrived());
        peer.take();
        return frames;
    }
    QStringList sent() { return inHex(take()); }

    QWidget* line(const char* kind, int number) const {
        return onPage<QWidget>(form().page_joy_stick,
                               qPrintable(QStringLiteral("row_%1_%2").arg(kind).arg(number)));
    }
    QComboBox* box(const char* kind, int number) const {
        return onPage<QComboBox>(form().page_joy_stick,
                                 qPrintable(QStringLiteral("comboBox_%1_%2").arg(kind).arg(number)));
    }
    QLabel* label(const char* kind, int number) const {
        return onPage<QLabel>(form().page_joy_stick,
                              qPrintable(QStringLiteral("label_%1_%2").arg(kind).arg(number)));
    }
    QLabel* indicator(int number) const {
        return onPage<QLabel>(form().page_joy_stick,
                              qPrintable(QStringLiteral("indicator_btn_%1").arg(number)));
    }
    // Numbers of the rows that are not hidden.
    QList<int> rows(const char* kind) const {
        QList<int> shown;
        for (int number = 1; QWidget* row = line(kind, number); ++number) {
            if (!row->isHidden()) {
                shown << number;
            }
        }
        return shown;
    }
    // Roles of the rows for X and Y of a controller with six axes.
    void steer(int role_x, int role_y) const {
        box("axis", 1)->setCurrentIndex(role_x);
        box("axis", 2)->setCurrentIndex(role_y);
    }
    void give(int button, int function) const {
        // Twelve buttons: six rows in the first column, then six from the fourteenth on.
        box("btn", button < 6 ? button + 1 : button + 8)->setCurrentIndex(function);
    }
    void reportTracking(bool on) const { in().m_tracking() = on; }

private:
    void fire(int timer) const {
        QTimerEvent event(timer);
        const bool was_open = m_gate != nullptr && m_gate->open;
        if (m_gate != nullptr) {
            m_gate->open = true;
        }
        QCoreApplication::sendEvent(window.get(), &event);
        if (m_gate != nullptr) {
            m_gate->open = was_open;
        }
    }
    void move(std::uint32_t& position, double part) const {
        position = static_cast<std::uint32_t>(32767.5 + 32767.5 * part);
        poll();
    }

    std::unique_ptr<TimerGate> m_gate;
};
