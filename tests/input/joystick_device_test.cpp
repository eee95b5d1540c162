// The polling of a game controller: each rule, and a plain model on random sequences.
#include "input/joystick_device.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace sorvane {
namespace {

using platform::JoystickCaps;
using platform::JoystickState;

// What a poll has told, in order: kind, then its numbers.
struct Event {
    char kind;  // D down, U up, A axis out, R axis back, C connect change
    long a = 0, b = 0, c = 0, d = 0;
    float offset = 0.0F;

    bool operator==(const Event& o) const {
        return std::tie(kind, a, b, c, d, offset) == std::tie(o.kind, o.a, o.b, o.c, o.d, o.offset);
    }
};
using Events = std::vector<Event>;

void PrintTo(const Event& e, std::ostream* out) {
    *out << e.kind << ' ' << e.a << ' ' << e.b << ' ' << e.c << ' ' << e.d << ' ' << e.offset;
}

Event down(int button, bool plain) { return {'D', button, plain}; }
Event up(int button) { return {'U', button, 1}; }
Event out(int axis, float offset) { return {'A', axis, 0, 0, 0, offset}; }
Event back(int axis) { return {'R', axis}; }

// The system as a test sets it up.
struct World {
    int first_id = -1;  // the first that exists
    bool fails = false;
    JoystickCaps caps{};
    JoystickState state{};

    unsigned asked_caps = 0;  // ids, of the poll under way
    int asked_state = 0;
};

class Watched {
public:
    explicit Watched(World& world)
        : m_world(world),
          m_device({[this](unsigned id, JoystickCaps& caps) {
                        EXPECT_EQ(id, m_world.asked_caps++);
                        if (static_cast<int>(id) != m_world.first_id) {
                            return 165;
                        }
                        caps = m_world.caps;
                        return 0;
                    },
                    [this](unsigned id, JoystickState& state) {
                        EXPECT_EQ(static_cast<int>(id), m_world.first_id);
                        EXPECT_EQ(state.dwSize, 52U);
                        EXPECT_EQ(state.dwFlags, 255U);
                        ++m_world.asked_state;
                        if (m_world.fails) {
                            return 167;
                        }
                        state = m_world.state;
                        return 0;
                    }}) {}

    Events poll() {
        m_world.asked_caps = 0;
        m_world.asked_state = 0;
        Events events;
        m_device.poll({[&](int button, bool plain) {
                           events.push_back({'D', button, plain});
                       },
                       [&](int button, bool plain) {
                           events.push_back({'U', button, plain});
                       },
                       [&](int axis, float offset) { events.push_back(out(axis, offset)); },
                       [&](int axis) { events.push_back(back(axis)); },
                       [&](bool is_connect, int buttons, int product, int caps) {
                           events.push_back({'C', is_connect, buttons, product, caps});
                       }});
        return events;
    }
    Events poll(std::uint32_t buttons) {
        m_world.state.dwButtons = buttons;
        return poll();
    }
    bool connected() const { return m_device.isConnected(); }

private:
    World& m_world;
    JoystickDevice m_device;
};

class JoystickDeviceTest : public ::testing::Test {
protected:
    JoystickDeviceTest() : device(world) {
        world.first_id = 0;
        world.caps.wPid = 0x1234;
        world.caps.wNumButtons = 16;
        world.caps.wCaps = 0x3F;
        world.caps.wXmax = world.caps.wYmax = world.caps.wZmax = 65535;
        world.state.dwXpos = world.state.dwYpos = world.state.dwZpos = 32767;
    }
    void plugIn() { ASSERT_EQ(device.poll(), (Events{{'C', 1, 16, 0x1234, 0x3F}})); }

    World world;
    Watched device;
};

constexpr std::uint32_t bit(int button) { return 1U << static_cast<unsigned>(button); }

TEST_F(JoystickDeviceTest, TheFirstIdThatExistsIsTakenAndTheSearchEnds) {
    world.first_id = 9;
    plugIn();
    EXPECT_EQ(world.asked_caps, 10U);
    EXPECT_EQ(world.asked_state, 1);
    world.first_id = -1;
    device.poll();
    EXPECT_EQ(world.asked_caps, 16U);
    EXPECT_EQ(world.asked_state, 0);
}

TEST_F(JoystickDeviceTest, ConnectedAndDisconnectedOnceEach) {
    plugIn();
    EXPECT_TRUE(device.poll().empty());
    world.first_id = -1;
    EXPECT_EQ(device.poll(), (Events{{'C', 0, 0, 0, 0}}));
    EXPECT_FALSE(device.connected());
    EXPECT_TRUE(device.poll().empty());
    world.first_id = 3;
    EXPECT_EQ(device.poll(), (Events{{'C', 1, 16, 0x1234, 0x3F}}));
}

TEST_F(JoystickDeviceTest, AFailingStateIsADisconnectWithTheCapsAsTheyStand) {
    plugIn();
    world.fails = true;
    EXPECT_EQ(device.poll(), (Events{{'C', 0, 16, 0x1234, 0x3F}}));
    EXPECT_EQ(world.asked_caps, 1U) << "a later id is not tried";
    world.fails = false;
    EXPECT_EQ(device.poll(), (Events{{'C', 1, 16, 0x1234, 0x3F}}));
}

TEST_F(JoystickDeviceTest, ButtonsHeldAtTheConnectFireNothingUntilTheyChange) {
    world.state.dwButtons = bit(3);
    plugIn();
    EXPECT_TRUE(device.poll().empty());
    EXPECT_EQ(device.poll(0), Events{up(3)});
}

TEST_F(JoystickDeviceTest, OneButtonDownAndUp) {
    plugIn();
    for (const int button : {0, 1, 11, 12, 15, 16, 31}) {
        EXPECT_EQ(device.poll(bit(button)), Events{down(button, true)});
        EXPECT_TRUE(device.poll().empty());
        EXPECT_EQ(device.poll(0), Events{up(button)});
    }
}

TEST_F(JoystickDeviceTest, ChangingFromOneButtonToAnotherFiresNeitherEdge) {
    plugIn();
    device.poll(bit(2));
    EXPECT_TRUE(device.poll(bit(5)).empty());
    EXPECT_EQ(device.poll(0), Events{up(5)});
}

TEST_F(JoystickDeviceTest, ReleasingOneOfTwoFiresNothingThenTheOtherAlone) {
    plugIn();
    device.poll(bit(2));
    device.poll(bit(2) | bit(5));
    EXPECT_TRUE(device.poll(bit(5)).empty());
    EXPECT_EQ(device.poll(0), Events{up(5)});
}

TEST_F(JoystickDeviceTest, TwoButtonsWithinOnePollFromRestAreMinusOne) {
    plugIn();
    EXPECT_EQ(device.poll(bit(2) | bit(5)), Events{down(-1, true)});
    EXPECT_EQ(device.poll(0), Events{up(-1)});
}

TEST_F(JoystickDeviceTest, ASecondButtonWhileAnotherIsHeldIsNoPlainOne) {
    plugIn();
    device.poll(bit(2));
    EXPECT_EQ(device.poll(bit(2) | bit(5)), Events{down(5, false)});
    EXPECT_EQ(device.poll(bit(2) | bit(5) | bit(7)), Events{down(7, false)});
    // One of three released is told the same way.
    EXPECT_EQ(device.poll(bit(2) | bit(7)), Events{down(5, false)});
    // Two at once are nobody.
    EXPECT_TRUE(device.poll(bit(2) | bit(7) | bit(8) | bit(9)).empty());
}

TEST_F(JoystickDeviceTest, ButtonsTwelveToFifteenKnowChords) {
    plugIn();
    for (int button = 11; button <= 16; ++button) {
        const bool chord = button >= 12 && button <= 15;
        device.poll(bit(2));
        EXPECT_EQ(device.poll(bit(2) | bit(button)), Events{down(button, chord)}) << button;
        // Two others are held, so this is no single button's end.
        device.poll(bit(2) | bit(3) | bit(button));
        EXPECT_EQ(device.poll(bit(2) | bit(3)), (Events{chord ? up(button) : down(button, false)})) << button;
        device.poll(0);
    }
}

TEST_F(JoystickDeviceTest, TheRestZoneIsAnEighthOfHalfTheRangeToEitherSide) {
    plugIn();
    const auto at = [this](std::uint32_t x) {
        world.state.dwXpos = x;
        return device.poll();
    };
    // The middle is 32767; 4095 * 8 = 32760 is within, 4096 * 8 = 32768 is out.
    EXPECT_TRUE(at(32767 + 4095).empty());
    EXPECT_TRUE(at(32767 - 4095).empty());
    EXPECT_EQ(at(32767 + 4096), Events{out(0, 36863.0F / 65535.0F)});
    EXPECT_EQ(at(32767 - 4096), Events{out(0, 28671.0F / 65535.0F)});
    EXPECT_EQ(at(32767), Events{back(0)});
    EXPECT_TRUE(at(32767).empty());
}

TEST_F(JoystickDeviceTest, AnAxisThatStaysOutIsToldAtEachPollAndItsReturnOnce) {
    plugIn();
    world.state.dwYpos = 65535;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(device.poll(), Events{out(1, 1.0F)});
    }
    world.state.dwYpos = 0;
    EXPECT_EQ(device.poll(), Events{out(1, 0.0F)}) << "the other end";
    world.state.dwYpos = 32767;
    EXPECT_EQ(device.poll(), Events{back(1)});
    EXPECT_TRUE(device.poll().empty());
}

TEST_F(JoystickDeviceTest, SixAxesInTheirOrder) {
    world.caps.wRmax = world.caps.wUmax = world.caps.wVmax = 65535;
    world.state.dwRpos = world.state.dwUpos = world.state.dwVpos = 32767;
    plugIn();
    world.state.dwXpos = world.state.dwYpos = world.state.dwZpos = 65535;
    world.state.dwRpos = world.state.dwUpos = world.state.dwVpos = 0;
    EXPECT_EQ(device.poll(), (Events{out(0, 1), out(1, 1), out(2, 1), out(3, 0), out(4, 0), out(5, 0)}));
}

TEST_F(JoystickDeviceTest, AnAxisWithoutARangeIsOutForAnyValueAboveNought) {
    plugIn();
    EXPECT_EQ(world.caps.wVmax, 0U);
    world.state.dwVpos = 1;
    EXPECT_EQ(device.poll(), Events{out(5, std::numeric_limits<float>::infinity())});
    world.state.dwVpos = 0;
    EXPECT_EQ(device.poll(), Events{back(5)});
    EXPECT_TRUE(device.poll().empty());
}

TEST_F(JoystickDeviceTest, AnUnevenRangeHasItsMiddleBetween) {
    world.caps.wXmin = 100;
    world.caps.wXmax = 301;
    world.state.dwXpos = 200;
    plugIn();
    const auto at = [this](std::uint32_t x) {
        world.state.dwXpos = x;
        return device.poll();
    };
    // The middle is 200, the zone 25 to either side.
    EXPECT_TRUE(at(225).empty());
    EXPECT_EQ(at(226), Events{out(0, 226.0F / 301.0F)});
    EXPECT_EQ(at(174), Events{out(0, 174.0F / 301.0F)});
    EXPECT_EQ(at(175), Events{back(0)});
}

TEST_F(JoystickDeviceTest, UnpluggedWithAButtonHeldFiresNoButtonUp) {
    plugIn();
    world.state.dwXpos = 65535;
    device.poll(bit(4));
    world.first_id = -1;
    EXPECT_EQ(device.poll(), (Events{{'C', 0, 0, 0, 0}}));
    // Back with the button still held and the axis out: no edge, but the axis is told.
    world.first_id = 0;
    EXPECT_EQ(device.poll(), (Events{{'C', 1, 16, 0x1234, 0x3F}, out(0, 1.0F)}));
}

TEST(Log2Exact, OfPowersOfTwoAlone) {
    EXPECT_EQ(log2exact(0), -1);
    for (int exponent = 0; exponent < 32; ++exponent) {
        EXPECT_EQ(log2exact(bit(exponent)), exponent);
        EXPECT_EQ(log2exact(bit(exponent) | bit((exponent + 7) % 32)), -1);
    }
    EXPECT_EQ(log2exact(0xFFFFFFFFU), -1);
}

// The rules written down plainly, step by step.
class Model {
public:
    Events poll(const World& world) {
        Events told;
        const bool found = world.first_id >= 0 && !world.fails;
        const JoystickCaps caps = world.first_id >= 0 ? world.caps : JoystickCaps{};
        if (found && !m_connected) {
            told.push_back(
                {'C', 1, static_cast<long>(caps.wNumButtons), caps.wPid, static_cast<int>(caps.wCaps)});
            m_last = world.state;
        }
        if (!found && m_connected) {
            told.push_back(
                {'C', 0, static_cast<long>(caps.wNumButtons), caps.wPid, static_cast<int>(caps.wCaps)});
        }
        m_connected = found;
        if (found) {
            buttons(world.state.dwButtons, told);
            axes(caps, world.state, told);
            m_last = world.state;
        }
        return told;
    }

private:
    using Bits = std::bitset<32>;

    // The one bit that is set, -1 for none or several.
    static int only(const Bits& bits) {
        int found = -1;
        for (int i = 0; i < 32; ++i) {
            if (bits[static_cast<std::size_t>(i)]) {
                if (found != -1) {
                    return -1;
                }
                found = i;
            }
        }
        return found;
    }

    void buttons(std::uint32_t now_mask, Events& told) const {
        const Bits now(now_mask);
        const Bits before(m_last.dwButtons);
        if (now.count() > 1) {
            const Bits gone = before & ~now;
            const Bits come = now & ~before;
            const bool released = come.none() && gone.any();
            const int changed = released ? only(gone) : only(come);
            if (changed >= 12 && changed <= 15) {
                told.push_back({released ? 'U' : 'D', changed, 1});
                return;
            }
            if (changed >= 0) {
                told.push_back({'D', changed, 0});
            }
        }
        if (before.none() && now.any()) {
            told.push_back({'D', only(now), 1});
        } else if (before.any() && now.none()) {
            told.push_back({'U', only(before), 1});
        }
    }

    static bool isOut(std::uint32_t low, std::uint32_t high, std::uint32_t position) {
        const auto middle = static_cast<std::int64_t>(static_cast<std::uint32_t>(low + high) / 2);
        return std::llabs(static_cast<std::int64_t>(position) - middle) * 8 > middle;
    }

    void axes(const JoystickCaps& c, const JoystickState& s, Events& told) const {
        const std::uint32_t low[] = {c.wXmin, c.wYmin, c.wZmin, c.wRmin, c.wUmin, c.wVmin};
        const std::uint32_t high[] = {c.wXmax, c.wYmax, c.wZmax, c.wRmax, c.wUmax, c.wVmax};
        const std::uint32_t now[] = {s.dwXpos, s.dwYpos, s.dwZpos, s.dwRpos, s.dwUpos, s.dwVpos};
        const std::uint32_t before[] = {m_last.dwXpos, m_last.dwYpos, m_last.dwZpos,
                                        m_last.dwRpos, m_last.dwUpos, m_last.dwVpos};
        for (int i = 0; i < 6; ++i) {
            if (isOut(low[i], high[i], now[i])) {
                told.push_back(out(i, static_cast<float>(now[i]) / static_cast<float>(high[i])));
            } else if (isOut(low[i], high[i], before[i])) {
                told.push_back(back(i));
            }
        }
    }

    bool m_connected = false;
    JoystickState m_last{};
};

class Dice {
public:
    explicit Dice(std::uint32_t seed) : m_random(seed) {}
    std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>(m_random() % n); }
    bool oneIn(std::uint32_t n) { return below(n) == 0; }
    std::uint32_t bits() { return static_cast<std::uint32_t>(m_random()); }

    std::uint32_t range() {
        constexpr std::uint32_t kRanges[] = {0, 65535, 65535, 65535, 255, 7, 301, 0x80000000U, 0xFFFFFFFFU};
        return kRanges[below(9)];
    }
    // Near the middle, near the edge of the rest zone, at the ends or anywhere.
    std::uint32_t place(std::uint32_t low, std::uint32_t high) {
        const std::uint32_t middle = (low + high) / 2;
        switch (below(5)) {
            case 0:
                return middle;
            case 1:
                return middle + middle / 8 + below(3) - 1;
            case 2:
                return middle - middle / 8 + below(3) - 1;
            case 3:
                return oneIn(2) ? low : high;
            default:
                return bits() % (high == 0xFFFFFFFFU ? high : high + 1);
        }
    }
    std::uint32_t buttons(std::uint32_t before) {
        switch (below(4)) {
            case 0:
                return 0;
            case 1:
                return before ^ bit(static_cast<int>(below(18)));
            case 2:
                return before ^ bit(static_cast<int>(below(32))) ^ bit(static_cast<int>(11 + below(6)));
            default:
                return before;
        }
    }

private:
    std::mt19937 m_random;
};

void newDevice(World& world, Dice& dice) {
    JoystickCaps& c = world.caps;
    c.wPid = static_cast<std::uint16_t>(dice.below(3));
    c.wNumButtons = dice.below(33);
    c.wCaps = dice.below(64);
    for (auto limits : {std::make_pair(&c.wXmin, &c.wXmax), std::make_pair(&c.wYmin, &c.wYmax),
                        std::make_pair(&c.wZmin, &c.wZmax), std::make_pair(&c.wRmin, &c.wRmax),
                        std::make_pair(&c.wUmin, &c.wUmax), std::make_pair(&c.wVmin, &c.wVmax)}) {
        *limits.second = dice.range();
        *limits.first = dice.oneIn(4) ? dice.below(*limits.second / 2 + 1) : 0;
    }
}

void nextState(World& world, Dice& dice) {
    const JoystickCaps& c = world.caps;
    JoystickState& s = world.state;
    s.dwButtons = dice.buttons(s.dwButtons);
    s.dwXpos = dice.place(c.wXmin, c.wXmax);
    s.dwYpos = dice.place(c.wYmin, c.wYmax);
    s.dwZpos = dice.place(c.wZmin, c.wZmax);
    s.dwRpos = dice.place(c.wRmin, c.wRmax);
    s.dwUpos = dice.place(c.wUmin, c.wUmax);
    s.dwVpos = dice.place(c.wVmin, c.wVmax);
    if (dice.oneIn(4)) {
        world.first_id = dice.oneIn(3) ? -1 : static_cast<int>(dice.below(16));
    }
    world.fails = dice.oneIn(10);
}

TEST(JoystickDeviceModel, AgreesOnRandomSequences) {
    constexpr int kSequences = 100000;
    std::array<long, 128> kinds{};
    for (int sequence = 0; sequence < kSequences; ++sequence) {
        Dice dice(static_cast<std::uint32_t>(sequence));
        World world;
        world.first_id = static_cast<int>(dice.below(16));
        newDevice(world, dice);
        Watched device(world);
        Model model;
        for (int poll = 0; poll < 8; ++poll) {
            nextState(world, dice);
            const Events expected = model.poll(world);
            ASSERT_EQ(device.poll(), expected) << "sequence " << sequence << ", poll " << poll;
            for (const Event& event : expected) {
                ++kinds[static_cast<std::size_t>(event.kind)];
            }
        }
    }
    // Everything there is was met often.
    for (const char kind : {'D', 'U', 'A', 'R', 'C'}) {
        EXPECT_GT(kinds[static_cast<std::size_t>(kind)], kSequences / 10) << kind;
    }
}

}  // namespace
}  // namespace sorvane
