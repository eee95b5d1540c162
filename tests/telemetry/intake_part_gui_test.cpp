// What becomes of each decoded frame, without the window.
#include <gtest/gtest.h>
#include <malloc.h>

#include <QUdpSocket>
#include <cstdlib>
#include <cstring>

#include "app/events/event_receiver.h"
#include "telemetry/intake.h"
#include "tests/fakes/event_catcher.h"
#include "tests/telemetry/panels_by_hand.h"
#include "tests/widgets/wait.h"

namespace {

// Larger than the C library ever keeps in its own arenas: the system maps such a block, and its freeing is
// seen in the number of those that are mapped.
constexpr std::size_t kBlockSize = std::size_t{64} << 20;

void* block(const Bytes& bytes) {
    void* result = std::malloc(kBlockSize);
    if (!bytes.empty()) {
        std::memcpy(result, bytes.data(), bytes.size());
    }
    return result;
}

int mappedBlocks() { return static_cast<int>(mallinfo2().hblks); }

struct Reply {
    int code;
    Bytes data;
    bool operator==(const Reply& other) const { return code == other.code && data == other.data; }
};

class IntakePart : public ::testing::Test {
protected:
    IntakePart() {
        QObject::connect(&intake, &Intake::recordTaken, [this] { calls << "record"; });
        QObject::connect(&intake, &Intake::navBlockTaken, [this] { calls << "nav"; });
        QObject::connect(&intake, &Intake::replyTaken,
                         [this](std::uint16_t code, const unsigned char* data, int size) {
                             calls << "reply";
                             replies.push_back({code, Bytes(data, data + size)});
                         });
        receiver.on_event = [this](int number, QMyEvent& e) {
            posted << number;
            if (number == EVT_TELEMETRY) {
                intake.takeRecord(e);
            } else {
                intake.takeNavBlock(e);
            }
        };
    }
    ~IntakePart() override { setEventReceiver(nullptr); }

    // Hands over one event as it comes from a receive thread, and sees that it has no payload afterwards.
    void give(void (Intake::*take)(QMyEvent&), void* data, int size = 0) {
        QMyEvent e(EVT_TELEMETRY, nullptr, data, size);
        (intake.*take)(e);
        EXPECT_EQ(e.data, nullptr);
    }

    sorvane::TelemetryRecord telemetry;
    sorvane::NavBlock nav;
    bool tracking = false;
    EventCatcher receiver;
    Intake intake{IntakeFields{telemetry, nav, tracking}, receiver};
    QStringList calls;
    std::vector<Reply> replies;
    QList<int> posted;
};

TEST_F(IntakePart, ARecordFillsTheFields) {
    give(&Intake::takeRecord, block(recordWithIntegers()));
    EXPECT_EQ(std::memcmp(&telemetry, recordWithIntegers().data(), sizeof telemetry), 0);
    EXPECT_EQ(calls, QStringList{"record"});
    EXPECT_TRUE(tracking);
}

TEST_F(IntakePart, TrackingIsServoStateSevenAlone) {
    sorvane::TelemetryRecord record;
    for (int state = 0; state <= 16; ++state) {
        record.servo_state = static_cast<std::uint8_t>(state);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
        give(&Intake::takeRecord, block(Bytes(bytes, bytes + sizeof record)));
        EXPECT_EQ(tracking, state == 7) << state;
    }
}

TEST_F(IntakePart, AReplyIsHandedOnWithoutItsCode) {
    give(&Intake::takeReply, block({0x02, 0x01, 0xAA, 0xBB, 0xCC}), 5);
    give(&Intake::takeReply, block({0x03, 0x00}), 2);
    EXPECT_EQ(replies, (std::vector<Reply>{{0x0102, {0xAA, 0xBB, 0xCC}}, {3, {}}}));
    QCoreApplication::sendPostedEvents(&receiver);
    EXPECT_EQ(posted, QList<int>{});
}

TEST_F(IntakePart, AReplyBelowTwoBytesIsDropped) {
    give(&Intake::takeReply, block({20}), 1);
    give(&Intake::takeReply, block({}), 0);
    EXPECT_TRUE(replies.empty());
}

TEST_F(IntakePart, ARecordInAReplyFollowsItAsAnEvent) {
    give(&Intake::takeReply, block(Bytes{20, 0} + recordWithIntegers()), 62);
    EXPECT_EQ(calls, QStringList{"reply"});
    EXPECT_EQ(+telemetry.track_x, 0);
    QCoreApplication::sendPostedEvents(&receiver);
    EXPECT_EQ(posted, QList<int>{EVT_TELEMETRY});
    EXPECT_EQ(calls, (QStringList{"reply", "record"}));
    EXPECT_EQ(std::memcmp(&telemetry, recordWithIntegers().data(), sizeof telemetry), 0);
}

TEST_F(IntakePart, OtherSizesOfThatCodeAndOtherCodesAreNoRecord) {
    give(&Intake::takeReply, block(Bytes{20, 0} + Bytes(59, 1)), 61);
    give(&Intake::takeReply, block(Bytes{20, 0} + Bytes(61, 1)), 63);
    give(&Intake::takeReply, block(Bytes{21, 0} + recordWithIntegers()), 62);
    give(&Intake::takeReply, block(Bytes{20, 1} + recordWithIntegers()), 62);
    EXPECT_EQ(replies.size(), 4U);
    QCoreApplication::sendPostedEvents(&receiver);
    EXPECT_EQ(posted, QList<int>{});
}

TEST_F(IntakePart, AnInsFrameFillsTheBlockWithoutAWord) {
    give(&Intake::takeInsFrame, block(insPayload()));
    EXPECT_EQ(+nav.longitude, 1145000000);
    EXPECT_EQ(+nav.pitch, -1050);
    EXPECT_EQ(calls, QStringList{});
}

TEST_F(IntakePart, AnInterfaceBlockFillsTheBlock) {
    give(&Intake::takeNavBlock, block(navBytes()));
    EXPECT_EQ(std::memcmp(&nav, navBytes().data(), sizeof nav), 0);
    EXPECT_EQ(calls, QStringList{"nav"});
}

TEST_F(IntakePart, AnEventWithoutAPayloadChangesNothing) {
    telemetry.track_x = 5;
    nav.pitch = 6;
    tracking = true;
    give(&Intake::takeRecord, nullptr);
    give(&Intake::takeReply, nullptr, 62);
    give(&Intake::takeInsFrame, nullptr);
    give(&Intake::takeNavBlock, nullptr);
    EXPECT_EQ(calls, QStringList{});
    EXPECT_EQ(+telemetry.track_x, 5);
    EXPECT_EQ(+nav.pitch, 6);
    EXPECT_TRUE(tracking);
}

TEST_F(IntakePart, EveryPayloadIsFreed) {
    const int before = mappedBlocks();
    void* volatile probe = block({});
#ifndef SORVANE_SANITIZED
    // The count tells nothing where the sanitizer's own allocator is at work; its report of leaks does then.
    ASSERT_EQ(mappedBlocks(), before + 1);
#endif
    std::free(probe);
    give(&Intake::takeRecord, block(recordWithIntegers()));
    EXPECT_EQ(mappedBlocks(), before);
    give(&Intake::takeReply, block(Bytes{20, 0} + recordWithIntegers()), 62);
    EXPECT_EQ(mappedBlocks(), before);
    give(&Intake::takeReply, block({1}), 1);
    EXPECT_EQ(mappedBlocks(), before);
    give(&Intake::takeInsFrame, block(insPayload()));
    EXPECT_EQ(mappedBlocks(), before);
    give(&Intake::takeNavBlock, block(navBytes()));
    EXPECT_EQ(mappedBlocks(), before);
    QCoreApplication::sendPostedEvents(&receiver);
}

class InterfacePort : public IntakePart {
protected:
    // A port that was free a moment ago.
    static quint16 freePort() {
        QUdpSocket probe;
        probe.bind(QHostAddress(QHostAddress::LocalHost));
        return probe.localPort();
    }
    // From another address than the one that the frames come to.
    static void send(const Bytes& bytes, quint16 port) {
        QUdpSocket socket;
        socket.bind(QHostAddress("127.0.0.2"));
        socket.writeDatagram(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()),
                             QHostAddress(QHostAddress::LocalHost), port);
    }
};

TEST_F(InterfacePort, AFrameFromAnybodyReachesTheBlock) {
    setEventReceiver(&receiver);
    const quint16 port = freePort();
    intake.openInterfacePort(port);
    ASSERT_GE(intake.interfaceHandle(), 1);
    send(Bytes(1025, 0), port);  // whatever an earlier stream left
    ASSERT_TRUE(waitFor([&] {
        send(interfaceFrame(), port);
        return !posted.isEmpty();
    }));
    EXPECT_EQ(posted.first(), EVT_NAV_BLOCK);
    EXPECT_EQ(std::memcmp(&nav, navBytes().data(), sizeof nav), 0);
    intake.closeInterfacePort();
    EXPECT_EQ(intake.interfaceHandle(), -1);
    // Nothing is posted from now on, so that the receiver may go.
    QCoreApplication::sendPostedEvents(&receiver);
}

TEST_F(InterfacePort, APortThatCannotBeHadSaysNothing) {
    intake.openInterfacePort(70000);
    EXPECT_LT(intake.interfaceHandle(), 0);
    intake.closeInterfacePort();
    EXPECT_EQ(intake.interfaceHandle(), -1);
}

TEST_F(InterfacePort, TheEndOfTheIntakeClosesItsPort) {
    const quint16 port = freePort();
    {
        Intake other(IntakeFields{telemetry, nav, tracking}, receiver);
        other.openInterfacePort(port);
        ASSERT_GE(other.interfaceHandle(), 1);
        QUdpSocket taken;
        ASSERT_FALSE(taken.bind(QHostAddress(QHostAddress::AnyIPv4), port, QUdpSocket::DontShareAddress));
    }
    QUdpSocket free;
    EXPECT_TRUE(free.bind(QHostAddress(QHostAddress::AnyIPv4), port, QUdpSocket::DontShareAddress));
}

}  // namespace
