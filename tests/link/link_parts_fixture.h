// The parts of the link on forms of their own, a loopback peer at the far end, and timers in the test's
// hands.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimerEvent>
#include <functional>
#include <vector>

#include "base/checksum.h"
#include "link/command_sender.h"
#include "link/link_state.h"
#include "oskel/oskel.h"
#include "tests/fakes/link_peers.h"
#include "tests/widgets/wait.h"

// The object whose timer ids the fields hold; gives each expiry to on_timer.
class TimerOwner : public QObject {
public:
    std::function<void(int id)> on_timer;

    // Interval of a timer of this object in ms; -1 when it does not run.
    int interval(int id) const {
        for (const auto& info : timers()) {
            if (info.timerId == id) {
                return info.interval;
            }
        }
        return -1;
    }
    bool runs(int id) const { return interval(id) >= 0; }
    int count() const { return timers().size(); }

protected:
    void timerEvent(QTimerEvent* e) override {
        if (on_timer) {
            on_timer(e->timerId());
        }
    }

private:
    QList<QAbstractEventDispatcher::TimerInfo> timers() const {
        return QAbstractEventDispatcher::instance()->registeredTimers(const_cast<TimerOwner*>(this));
    }
};

// A variable frame with its length and its check byte; `code_and_payload` in hexadecimal digits.
inline QByteArray variableFrame(const char* code_and_payload) {
    const QByteArray body = hex(code_and_payload);
    QByteArray frame = hex("FB2CAA");
    frame.append(static_cast<char>(body.size())).append(body);
    return frame.append(static_cast<char>(sorvane::frameXor(frame.constData() + 3, frame.size() - 3)));
}

// A sender on fields of the test, sending to a loopback peer.
class SenderPartTest : public ::testing::Test {
protected:
    ~SenderPartTest() override { oskel::hang_up(link_handle); }

    void openLink() {
        link_handle = oskel::dialDatagram("127.0.0.1", peer.port(), "127.0.0.1", 0, {});
        ASSERT_GE(link_handle, 1);
        link_state = kLinkUdp;
    }
    // What has been sent since the last call: a marker goes out behind it and is waited for.
    std::vector<QByteArray> sent() {
        const QByteArray marker("MARK");
        oskel::push_bytes(marker.constData(), marker.size(), link_handle);
        EXPECT_TRUE(waitFor([&] { return peer.count() > 0 && peer.frames().back() == marker; }));
        std::vector<QByteArray> frames = peer.take();
        if (!frames.empty()) {
            frames.pop_back();
        }
        return frames;
    }
    using Frames = std::vector<QByteArray>;

    sorvane::FixedCommandFrame frame;
    bool frame_release = true;
    std::uint16_t last_code = 0;
    sorvane::NavBlock nav;
    QElapsedTimer clock;
    int period_timer = -1;
    int nav_timer = -1;
    int link_handle = -1;
    int ins_handle = -1;
    std::int32_t link_state = kLinkNone;

    bool single = true;
    bool telemetry_stream = false;
    int period_ms = 70;
    bool drag = false;
    bool recv_telemetry = false;

    TimerOwner timers;
    UdpPeer peer;
    CommandSender sender{timers,
                         SenderFields{frame, frame_release, last_code, nav, clock, period_timer, nav_timer,
                                      link_handle, ins_handle},
                         SenderQuestions{[this] { return single; }, [this] { return telemetry_stream; },
                                         [this] { return period_ms; }, [this] { return drag; },
                                         [this] { return recv_telemetry; }}};
};
