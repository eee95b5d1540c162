// Received bytes through the real callbacks, ports and window: replies, records, the inertial unit, the
// interface.
#include <pty.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QStackedWidget>
#include <QUdpSocket>
#include <thread>

#include "oskel/oskel.h"
#include "telemetry/link_callbacks.h"
#include "telemetry_fixture.h"

namespace {

using sorvane::NavBlock;

// --- replies ---

QStringList* debug_lines = nullptr;
void keepLine(QtMsgType, const QMessageLogContext&, const QString& line) {
    if (debug_lines != nullptr) {
        debug_lines->push_back(line);
    }
}

TEST_F(Telemetry, ARecordInAReplyKeepsItsPositionsAndReachesTheSettingsDialogToo) {
    QStringList lines;
    debug_lines = &lines;
    const QtMessageHandler before = qInstallMessageHandler(keepLine);
    reply(Bytes{20, 0} + recordWithIntegers());
    // The record is an event of its own behind the reply.
    ASSERT_TRUE(waitFor([this] { return text("m_fldTrackX") == "-128"; }));
    reply(Bytes{20, 0} + Bytes(59, 1));
    reply(Bytes{0x02, 0x01, 0xAA, 0xBB, 0xCC});
    qInstallMessageHandler(before);
    debug_lines = nullptr;
    EXPECT_EQ(text("label_target_locate_lon_val"), "114.5000000");
    EXPECT_EQ(text("label_target_locate_lat_val"), "30.2500000");
    // 59 bytes behind code 20 are no record.
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    const QStringList replies = lines.filter(QStringLiteral("reply of the pod"));
    EXPECT_EQ(replies,
              (QStringList{"reply of the pod, code 20, 60 bytes", "reply of the pod, code 20, 59 bytes",
                           "reply of the pod, code 258, 3 bytes"}));
}

TEST_F(Telemetry, AReplyBelowTwoBytesIsDropped) {
    report(recordByHand());
    reply({});
    reply({20});
    EXPECT_EQ(text("m_fldTrackX"), "-128");
}

// --- the receive callbacks ---

void feed(void (*callback)(const std::uint8_t*, std::int32_t, std::int32_t), const Bytes& bytes) {
    callback(bytes.data(), static_cast<std::int32_t>(bytes.size()), 0);
}

// Bytes held by an earlier test go: more than any reassembler holds, twice.
void clearStatics() {
    std::thread([] {
        feed(onControlLinkData, Bytes(1025, 0));
        feed(onInterfaceData, Bytes(1025, 0));
        feed(onInsLinkData, Bytes(121, 0));
    }).join();
}

TEST_F(Telemetry, AFixedFrameIsScaledAndShown) {
    clearStatics();
    std::thread([] { feed(onControlLinkData, fixedFrame()); }).join();
    ASSERT_TRUE(waitFor([this] { return text("m_fldTrackX") == "-128"; }));
    EXPECT_EQ(text("label_target_locate_lon_val"), "114.5000000");
    EXPECT_EQ(text("label_target_locate_lat_val"), "30.2500000");
}

TEST_F(Telemetry, BytesHeldWhenAPortClosesBeginTheNextOne) {
    clearStatics();
    std::thread([] { feed(onControlLinkData, slice(fixedFrame(), 0, 40)); }).join();
    std::thread([] { feed(onControlLinkData, slice(fixedFrame(), 40, 24)); }).join();
    EXPECT_TRUE(waitFor([this] { return text("m_fldTrackX") == "-128"; }));
}

TEST_F(Telemetry, WithoutAWindowTheCallbacksPostNothing) {
    clearStatics();
    setInstance(nullptr);
    feed(onControlLinkData, fixedFrame() + variableFrame());
    feed(onInterfaceData, interfaceFrame());
    std::thread([] { feed(onInsLinkData, insFrame()); }).join();
    setInstance(window.get());
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(text("m_fldTrackX"), "--");
}

TEST_F(Telemetry, AnInsFrameFillsTheBlockAndShowsNothing) {
    clearStatics();
    std::thread([] { feed(onInsLinkData, insFrame()); }).join();
    ASSERT_TRUE(waitFor([this] { return in().m_navBlock().longitude == 1145000000; }));
    const NavBlock block = in().m_navBlock();
    EXPECT_EQ(+block.pitch, -1050);
    EXPECT_EQ(+block.hour, 20);
    for (const ExpectedRow& row : kAircraftPage) {
        EXPECT_EQ(text(row.object_name), "") << row.object_name;
    }
}

// A pseudo terminal: the far end is ours, the near end opens as a serial port.
struct Terminal {
    int far_end = -1;
    char near_name[64] = {};
    Terminal() {
        int near_end = -1;
        if (openpty(&far_end, &near_end, near_name, nullptr, nullptr) == 0) {
            ::close(near_end);
        }
    }
    ~Terminal() {
        if (far_end >= 0) {
            ::close(far_end);
        }
    }
    bool write(const Bytes& bytes) const {
        return ::write(far_end, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
};

TEST_F(Telemetry, AWrongLengthByteHoldsTheInsPortUntilItIsClosed) {
    clearStatics();
    Terminal terminal;
    ASSERT_GE(terminal.far_end, 0);
    int handle = oskel::dialSerial(terminal.near_name, 460800, onInsLinkData);
    ASSERT_GT(handle, 0);
    Bytes bad = insFrame();
    bad[3] = 57;
    // However the system cuts these bytes, they never overflow the 120 that are held: that would free the
    // scan.
    ASSERT_TRUE(terminal.write(insFrame() + bad));
    ASSERT_TRUE(waitFor([this] { return in().m_navBlock().longitude == 1145000000; }));
    in().m_navBlock() = NavBlock();
    ASSERT_TRUE(terminal.write(insFrame()));
    EXPECT_FALSE(waitFor([this] { return in().m_navBlock().longitude != 0; }, 300));

    QElapsedTimer closing;
    closing.start();
    oskel::hang_up(handle);
    EXPECT_LT(closing.elapsed(), 5000);

    // The next port begins with the bytes held, so it takes an overflow to free it: more than 120 bytes in
    // all.
    clearStatics();
    Terminal other;
    ASSERT_GE(other.far_end, 0);
    handle = oskel::dialSerial(other.near_name, 460800, onInsLinkData);
    ASSERT_GT(handle, 0);
    ASSERT_TRUE(other.write(insFrame()));
    EXPECT_TRUE(waitFor([this] { return in().m_navBlock().longitude == 1145000000; }));
    oskel::hang_up(handle);
}

TEST_F(Telemetry, AReopenedInsPortBeginsWithTheFrameThatHeldIt) {
    clearStatics();
    Bytes bad = insFrame();
    bad[3] = 0;
    // Each thread stands for a port's.
    std::thread([&] {
        feed(onInsLinkData, bad);
        for (int i = 0; i < 20; ++i) {
            feed(onInsLinkData, insFrame());
        }
    }).join();
    std::thread([&] {
        feed(onInsLinkData, Bytes(4, 0));
        for (int i = 0; i < 20; ++i) {
            feed(onInsLinkData, insFrame());
        }
    }).join();
    QCoreApplication::sendPostedEvents(window.get());
    EXPECT_EQ(+in().m_navBlock().longitude, 0);
    clearStatics();
}

// --- the aircraft page ---

class Aircraft : public KorvathTest {
protected:
    // A port that was free a moment ago.
    static quint16 freePort() {
        QUdpSocket probe;
        probe.bind(QHostAddress(QHostAddress::LocalHost));
        return probe.localPort();
    }
    void SetUp() override {
        clearStatics();
        m_port = freePort();
        start({{"interface/recv_telemetry", true}, {"interface/recv_port", m_port}});
        ASSERT_GT(in().m_interfaceHandle(), 0);
    }
    std::string text(const char* name) const { return find<QLabel>(name)->text().toStdString(); }
    void sendDatagram(const Bytes& bytes) const {
        QUdpSocket socket;
        socket.writeDatagram(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()),
                             QHostAddress(QHostAddress::LocalHost), m_port);
    }
    quint16 m_port = 0;
};

Bytes interfaceFrameOf(const NavBlock& block) {
    Bytes frame = interfaceFrame();
    std::memcpy(&frame[7], &block, sizeof block);
    return frame;
}

TEST_F(Aircraft, TheStackHasThreePagesAndBeginsWithTheAircraft) {
    EXPECT_EQ(ui().stackedWidget->count(), 3);
    EXPECT_EQ(ui().stackedWidget->widget(0), ui().page_3);
    EXPECT_EQ(ui().stackedWidget->widget(1), ui().page);
    EXPECT_EQ(ui().stackedWidget->widget(2), ui().page_2);
}

TEST_F(Aircraft, AFrameOnTheInterfacePortFillsThePage) {
    for (const ExpectedRow& row : kAircraftPage) {
        EXPECT_EQ(text(row.object_name), "") << row.object_name;
    }
    sendDatagram(interfaceFrameOf(navByHand()));
    ASSERT_TRUE(waitFor([this] { return text("label_nav_pitch_val") == "-1050"; }));
    for (const ExpectedRow& row : kAircraftPage) {
        EXPECT_EQ(text(row.object_name), row.text) << row.object_name;
        EXPECT_EQ(text((std::string(row.object_name) + "_caption").c_str()), row.caption);
    }
    EXPECT_EQ(std::memcmp(&in().m_navBlock(), &interfaceFrameOf(navByHand())[7], sizeof(NavBlock)), 0);
}

TEST_F(Aircraft, ThePageStaysBlankWhileAnotherSourceWritesTheBlock) {
    std::thread([] { feed(onInsLinkData, insFrame()); }).join();
    ASSERT_TRUE(waitFor([this] { return in().m_navBlock().longitude == 1145000000; }));
    for (const ExpectedRow& row : kAircraftPage) {
        EXPECT_EQ(text(row.object_name), "") << row.object_name;
    }
}

TEST_F(Aircraft, NoiseOnTheInterfacePortShowsNothingAndAFrameBehindItIsFound) {
    Bytes noise;
    for (int i = 0; i < 900; ++i) {
        noise.push_back(static_cast<std::uint8_t>(i * 37 + i / 7));
    }
    sendDatagram(noise);
    sendDatagram(Bytes(1400, 0xFB));
    sendDatagram(interfaceFrameOf(navByHand()));
    EXPECT_TRUE(waitFor([this] { return text("label_nav_heading_val") == "35850"; }));
}

}  // namespace
