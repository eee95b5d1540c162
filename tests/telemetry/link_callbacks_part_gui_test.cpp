// The receive callbacks: what they post, to whom, and how much may wait.
#include <gtest/gtest.h>

#include <QTimer>
#include <cstdlib>
#include <thread>

#include "app/events/event_receiver.h"
#include "telemetry/link_callbacks.h"
#include "tests/fakes/event_catcher.h"
#include "tests/telemetry/frames_by_hand.h"
#include "tests/widgets/wait.h"

namespace {

using Callback = void (*)(const std::uint8_t*, std::int32_t, std::int32_t);

void feed(Callback callback, const Bytes& bytes) {
    callback(bytes.data(), static_cast<std::int32_t>(bytes.size()), 0);
}

// On a thread of its own, as each port has one.
void feedFromAPort(Callback callback, const Bytes& bytes) { std::thread(feed, callback, bytes).join(); }

class LinkCallbacks : public ::testing::Test {
protected:
    LinkCallbacks() {
        // Bytes held by an earlier test go: more than any reassembler holds.
        feedFromAPort(onControlLinkData, Bytes(1025, 0));
        feedFromAPort(onInterfaceData, Bytes(1025, 0));
        feedFromAPort(onInsLinkData, Bytes(121, 0));
        receiver.on_event = [this](int number, QMyEvent& e) {
            EXPECT_EQ(e.sender, nullptr);
            const auto* bytes = static_cast<const std::uint8_t*>(e.data);
            given.push_back({number, Bytes(bytes, bytes + sizeOf(number, e.size))});
            std::free(e.data);
            e.data = nullptr;
        };
        setEventReceiver(&receiver);
    }
    ~LinkCallbacks() override { setEventReceiver(nullptr); }

    static int sizeOf(int number, int size) {
        switch (number) {
            case EVT_TELEMETRY:
                return 60;
            case EVT_INS_FRAME:
                return 53;
            case EVT_NAV_BLOCK:
                return 30;
            default:
                return size;
        }
    }
    const GivenList& delivered() {
        QCoreApplication::sendPostedEvents(&receiver);
        return given;
    }

    EventCatcher receiver;
    GivenList given;
};

TEST_F(LinkCallbacks, TheControlLinkPostsRecordsAndReplies) {
    feedFromAPort(onControlLinkData, fixedFrame() + variableFrame());
    EXPECT_TRUE(given.empty()) << "posted, not sent";
    EXPECT_EQ(delivered(),
              (GivenList{{EVT_TELEMETRY, recordWithIntegers()}, {EVT_LINK_FRAME, variablePayload()}}));
}

TEST_F(LinkCallbacks, TheInertialUnitPostsItsPayload) {
    feedFromAPort(onInsLinkData, insFrame());
    EXPECT_EQ(delivered(), (GivenList{{EVT_INS_FRAME, insPayload()}}));
}

TEST_F(LinkCallbacks, TheInterfacePostsItsBlock) {
    feedFromAPort(onInterfaceData, interfaceFrame());
    EXPECT_EQ(delivered(), (GivenList{{EVT_NAV_BLOCK, navBytes()}}));
}

TEST_F(LinkCallbacks, BytesHeldByAPortBeginTheNextOne) {
    feedFromAPort(onControlLinkData, slice(fixedFrame(), 0, 40));
    EXPECT_TRUE(delivered().empty());
    feedFromAPort(onControlLinkData, slice(fixedFrame(), 40, 24));
    EXPECT_EQ(delivered(), (GivenList{{EVT_TELEMETRY, recordWithIntegers()}}));
}

TEST_F(LinkCallbacks, WithoutAReceiverNothingIsPosted) {
    setEventReceiver(nullptr);
    feedFromAPort(onControlLinkData, fixedFrame() + variableFrame());
    feedFromAPort(onInterfaceData, interfaceFrame());
    feedFromAPort(onInsLinkData, insFrame());
    setEventReceiver(&receiver);
    EXPECT_TRUE(delivered().empty());
}

TEST_F(LinkCallbacks, AWrongLengthByteHoldsTheInertialUnitsPortToItsEnd) {
    Bytes bad = insFrame();
    bad[3] = 57;
    std::thread([&bad] {
        feed(onInsLinkData, bad);
        // More than the held bytes may be, which would free the scan if anybody took it in.
        for (int i = 0; i < 5; ++i) {
            feed(onInsLinkData, insFrame());
        }
    }).join();
    EXPECT_TRUE(delivered().empty());
    feedFromAPort(onInsLinkData, Bytes(121, 0));
    feedFromAPort(onInsLinkData, insFrame());
    EXPECT_EQ(delivered().size(), 1U);
}

// Reply number n: code 0x0102, data n.
Bytes numberedReply(int n) {
    const Bytes payload = {0x02, 0x01, static_cast<std::uint8_t>(n & 0xFF),
                           static_cast<std::uint8_t>(n >> 8)};
    Bytes frame = Bytes{0xFC, 0x2C, 0x55, 0x04} + payload;
    std::uint8_t sum = 0x04;
    for (const std::uint8_t byte : payload) {
        sum = static_cast<std::uint8_t>(sum ^ byte);
    }
    frame.push_back(sum);
    return frame;
}

int numberOf(const Given& reply) {
    EXPECT_EQ(reply.kind, EVT_LINK_FRAME);
    return reply.bytes.at(2) | reply.bytes.at(3) << 8;
}

void feedReplies(int from, int to) {
    std::thread([from, to] {
        for (int i = from; i < to; ++i) {
            feed(onControlLinkData, numberedReply(i));
        }
    }).join();
}

TEST_F(LinkCallbacks, AThousandReportsMayWaitAndAQuietMomentLetsTheNextIn) {
    std::thread([] {
        for (int i = 0; i < 1300; ++i) {
            feed(onControlLinkData, fixedFrame());
        }
    }).join();
    EXPECT_EQ(delivered().size(), static_cast<std::size_t>(kMostWaitingReports));
    EXPECT_TRUE(waitFor([this] {
        feedFromAPort(onControlLinkData, fixedFrame());
        return delivered().size() > static_cast<std::size_t>(kMostWaitingReports);
    }));
}

TEST_F(LinkCallbacks, AReplyComesWithAThousandReportsWaiting) {
    std::thread([] {
        for (int i = 0; i < 1300; ++i) {
            feed(onControlLinkData, fixedFrame());
        }
        feed(onControlLinkData, numberedReply(7));
        feed(onControlLinkData, fixedFrame());
        feed(onControlLinkData, numberedReply(8));
    }).join();
    EXPECT_TRUE(waitFor([this] { return delivered().size() == kMostWaitingReports + 2U; }));
    EXPECT_EQ(given[kMostWaitingReports - 1].kind, EVT_TELEMETRY);
    EXPECT_EQ(numberOf(given[kMostWaitingReports]), 7);
    EXPECT_EQ(numberOf(given[kMostWaitingReports + 1]), 8);
}

// What waits stays bounded, comes in order, and leaves room between its rounds.
TEST_F(LinkCallbacks, AFloodOfRepliesComesInRoundsUpToItsBound) {
    const int most = static_cast<int>(kMostWaitingReplies);
    // An earlier test may have used a part of the present round.
    feedReplies(0, most / 2);
    ASSERT_TRUE(waitFor([&] { return static_cast<int>(given.size()) == most / 2; }));
    given.clear();

    feedReplies(0, most + 2000);
    QCoreApplication::sendPostedEvents();
    EXPECT_GT(given.size(), 0U);
    EXPECT_LE(given.size(), 500U) << "one round";
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(0);
    EXPECT_TRUE(waitFor([&] { return static_cast<int>(given.size()) >= most - 250; }, 20000)) << given.size();
    EXPECT_GE(ticks, 20);
    feedReplies(60000, 60001);
    EXPECT_TRUE(waitFor([&] { return numberOf(given.back()) == 60000; }));
    EXPECT_LE(given.size(), kMostWaitingReplies + 1);
    for (std::size_t i = 0; i + 1 < given.size(); ++i) {
        ASSERT_EQ(numberOf(given[i]), static_cast<int>(i));
    }
}

// A handler that holds a box open does not hold up what comes meanwhile.
TEST_F(LinkCallbacks, RepliesComeWhileOneIsBeingHandled) {
    const auto store = receiver.on_event;
    bool nested = false;
    receiver.on_event = [&](int number, QMyEvent& e) {
        store(number, e);
        if (!nested) {
            nested = true;
            // The loop goes on with a round that it has begun only when woken, as a box does by showing.
            QCoreApplication::postEvent(&receiver, new QEvent(QEvent::None));
            EXPECT_TRUE(waitFor([this] { return given.size() == 1200U; })) << given.size();
        }
    };
    feedReplies(0, 1200);
    EXPECT_TRUE(waitFor([this] { return given.size() == 1200U; }));
    EXPECT_TRUE(nested);
}

TEST_F(LinkCallbacks, WithoutAReceiverWaitingRepliesGo) {
    feedReplies(0, 1000);
    delivered();
    setEventReceiver(nullptr);
    QTimer timer;
    int ticks = 0;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(5);
    EXPECT_TRUE(waitFor([&] { return ticks >= 5; }));
    setEventReceiver(&receiver);
    const std::size_t so_far = given.size();
    EXPECT_LT(so_far, 1000U);
    feedReplies(60000, 60001);
    EXPECT_TRUE(waitFor([&] { return given.size() > so_far; }));
    EXPECT_EQ(numberOf(given[so_far]), 60000);
}

}  // namespace
