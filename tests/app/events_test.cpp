// The closed table of events, and who receives them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/events/event_receiver.h"
#include "app/events/my_event.h"

namespace {

struct Row {
    std::string name;
    int number;
    std::string payload;
    bool operator==(const Row& other) const {
        return name == other.name && number == other.number && payload == other.payload;
    }
};
void PrintTo(const Row& row, std::ostream* os) { *os << row.name << " " << row.number << " " << row.payload; }

std::vector<Row> table() {
#define ROW(name, number, payload, handler) {#name, number, #payload},
    return {SORVANE_EVENTS(ROW)};
#undef ROW
}

TEST(EventTable, HasItsElevenNumbers) {
    EXPECT_EQ(table(), (std::vector<Row>{{"EVT_CMD_BTN_DOWN", 1000, "Sent"},
                                         {"EVT_CMD_BTN_UP", 1001, "Sent"},
                                         {"EVT_REPLAY_START", 1002, "Plain"},
                                         {"EVT_REPLAY_END", 1003, "Plain"},
                                         {"EVT_TELEMETRY", 1004, "Block"},
                                         {"EVT_TELEMETRY_ALT", 1005, "Block"},
                                         {"EVT_PLAY_FAIL", 1006, "Plain"},
                                         {"EVT_LINK_FRAME", 1007, "Block"},
                                         {"EVT_INS_FRAME", 1008, "Block"},
                                         {"EVT_VIDEO_FRAME", 1009, "FrameParcel"},
                                         {"EVT_NAV_BLOCK", 1010, "Block"}}));
}

TEST(EventTable, TheEnumFollowsIt) {
    EXPECT_EQ(EVT_CMD_BTN_DOWN, 1000);
    EXPECT_EQ(EVT_PLAY_FAIL, 1006);
    EXPECT_EQ(EVT_NAV_BLOCK, 1010);
    // The toolkit's own events lie below: 1000 is the first that is free.
    EXPECT_EQ(static_cast<int>(QEvent::User), 1000);
}

TEST(Events, CarryTheirFields) {
    QObject sender;
    int payload = 0;
    const QMyEvent event(EVT_LINK_FRAME, &sender, &payload, 5);
    EXPECT_EQ(static_cast<int>(event.type()), 1007);
    EXPECT_EQ(event.sender, &sender);
    EXPECT_EQ(event.data, &payload);
    EXPECT_EQ(event.size, 5);
    EXPECT_EQ(static_cast<int>(QMyPlainEvent(EVT_REPLAY_END).type()), 1003);
}

TEST(EventReceiver, IsNobodyUntilItIsSet) {
    EXPECT_EQ(eventReceiver(), nullptr);
    QObject first;
    setEventReceiver(&first);
    EXPECT_EQ(eventReceiver(), &first);
    setEventReceiver(nullptr);
    EXPECT_EQ(eventReceiver(), nullptr);
}

}  // namespace
