// The receive callbacks: what they post, to whom, and how much may wait.
#include <gtest/gtest.h>

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

TEST_F(LinkCallbacks, AThousandMayWaitAndAQuietMomentLetsTheNextIn) {
    std::thread([] {
        for (int i = 0; i < 1300; ++i) {
            feed(onControlLinkData, variableFrame());
        }
    }).join();
    EXPECT_EQ(delivered().size(), 1000U);
    EXPECT_TRUE(waitFor([this] {
        feedFromAPort(onControlLinkData, variableFrame());
        return delivered().size() > 1000U;
    }));
}

}  // namespace
