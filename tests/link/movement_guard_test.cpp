// Where movements begin and end: which stop leaves, in which order, and that nothing more does.
#include "link/movement_guard.h"

#include "link/command_codes.h"
#include "sender_fixture.h"

namespace sorvane {
namespace {

using Codes = std::vector<int>;

// Two controls and a picture, told apart by their addresses; lettingGo() plays the widgets.
struct Movements : SenderFixture {
    Movements() {
        link.before_command = [this](std::uint16_t code, std::uint8_t action, bool rate) {
            guard.beforeCommand(code, action, rate);
        };
        guard.surroundings.let_go = [this](const void* but) {
            for (bool* held : {&button, &other, &picture}) {
                if (held != but && *held) {
                    *held = false;
                    guard.holdEnded(held);
                }
            }
        };
        guard.surroundings.kill_zoom_timers = [this] { zoom_timers = 0; };
        guard.surroundings.kill_stop_timer = [this] { stop_timer = 0; };
    }

    void press(bool& held, std::uint8_t code, std::uint8_t action = 1) {
        held = true;
        guard.holdBegins(&held, code);
        link_sender.sendCommand4(code, action, 0, 0, 0);
    }
    void pressArrow(bool& held, std::int16_t x = 5, std::int16_t y = 0) {
        held = true;
        guard.holdBegins(&held, CMD_SERVO_RATE);
        link_sender.sendCommandRate(0, CMD_SERVO_RATE, x, y);
    }
    void release(bool& held) {
        if (held) {
            held = false;
            guard.holdEnded(&held);
        }
    }
    void wheel(std::uint8_t code, std::uint8_t action = 1) {
        link_sender.sendCommand4(code, action, 7, 0, 0);
        ++zoom_timers;
        guard.zoomBegins(code);
    }
    void zoomExpires() {
        if (zoom_timers > 0 && --zoom_timers == 0) {
            guard.zoomEnded();
        }
    }
    void choose(std::uint8_t code) {
        link_sender.sendCommand4(code, 1, 2, 0, 0);
        stop_timer = 1;
        guard.timerBegins();
    }
    void stopTimerExpires() {
        if (stop_timer > 0) {
            stop_timer = 0;
            guard.timerEnded();
        }
    }

    // Code of each frame sent since the last call; a stop (zero parameters or rates) is negative.
    Codes codes() {
        Codes list;
        for (const Bytes& f : sent) {
            list.push_back(f.size() == kFixedFrameSize ? fixedCode(f) : variableCode(f));
        }
        sent.clear();
        return list;
    }
    static int variableCode(const Bytes& f) {
        const bool zero = f[6] == 0 && f[7] == 0 && f[8] == 0 && f[9] == 0;
        return zero ? -f[4] : f[4];
    }
    static int fixedCode(const Bytes& f) {
        if (f[37] == CMD_SERVO_RATE) {
            return f[38] == 0 && f[39] == 0 && f[40] == 0 && f[41] == 0 ? -CMD_SERVO_RATE : CMD_SERVO_RATE;
        }
        return f[3] == 0 ? -f[2] : f[2];
    }
    Codes ticks(int n) {
        sent.clear();
        for (int i = 0; i < n; ++i) {
            guard.periodTick();
        }
        return codes();
    }

    SenderConditions link = conditions();
    FrameSender link_sender{frame, release_flag, last_code, nav, forwarding()};
    MovementGuard guard{link_sender, [this] { return single; }};
    bool button = false;
    bool other = false;
    bool picture = false;
    int zoom_timers = 0;
    int stop_timer = 0;
    bool release_flag = true;

private:
    SenderConditions forwarding() {
        SenderConditions c = conditions();
        c.before_command = [this](std::uint16_t code, std::uint8_t action, bool rate) {
            link.before_command(code, action, rate);
        };
        return c;
    }
};

constexpr int kVl = CMD_VL_LENS;
constexpr int kIr = CMD_IR_LENS;
constexpr int kRate = CMD_SERVO_RATE;

TEST_F(Movements, AnUndisturbedHoldIsAsTheSenderTells) {
    press(button, CMD_VL_LENS);
    release(button);
    press(button, CMD_STOW);
    release(button);
    pressArrow(other);
    release(other);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, CMD_STOW, kRate, -kRate}));
    single = false;
    press(button, CMD_VL_LENS);
    EXPECT_EQ(codes(), Codes{});
    EXPECT_EQ(ticks(2), (Codes{kVl, kVl}));
    release(button);
    EXPECT_EQ(ticks(2), (Codes{kVl, -kVl, 0}));
}

TEST_F(Movements, TheWheelsZoomStopsByItsOwnCode) {
    wheel(CMD_VL_LENS);
    wheel(CMD_VL_LENS);
    zoomExpires();
    EXPECT_EQ(codes(), (Codes{kVl, kVl}));
    zoomExpires();
    EXPECT_EQ(codes(), Codes{-kVl});
}

TEST_F(Movements, ACommandOfAnotherCodeEndsTheZoomFirst) {
    wheel(CMD_IR_LENS);
    link_sender.sendCommandWord(CMD_TRACK_POINT, 9, 0);
    EXPECT_EQ(codes(), (Codes{kIr, -kIr, CMD_TRACK_POINT}));
    EXPECT_EQ(zoom_timers, 0) << "an expiry would end what came after";
    wheel(CMD_VL_LENS);
    wheel(CMD_IR_LENS);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, kIr})) << "two cameras";
    EXPECT_EQ(zoom_timers, 1);
    wheel(CMD_IR_LENS, 2);
    EXPECT_EQ(codes(), Codes{kIr}) << "the other way, same code";
}

TEST_F(Movements, APressEndsTheZoomAndItsTimers) {
    wheel(CMD_VL_LENS);
    press(button, CMD_VL_LENS);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, kVl}));
    EXPECT_EQ(zoom_timers, 0);
    release(button);
    EXPECT_EQ(codes(), Codes{-kVl});
}

TEST_F(Movements, AStopTimerNeverEndsTheHoldThatFollows) {
    choose(CMD_IR_PALETTE);
    pressArrow(button);
    EXPECT_EQ(stop_timer, 0);
    EXPECT_EQ(codes(), (Codes{CMD_IR_PALETTE, kRate}));
    single = false;
    release(button);
    choose(CMD_IR_PALETTE);
    pressArrow(button);
    EXPECT_EQ(stop_timer, 0);
    EXPECT_EQ(ticks(3), (Codes{kRate, kRate, kRate}));
}

TEST_F(Movements, ACommandOfAnotherCodeEndsTheStopTimerAndTheSameOneDoesNot) {
    choose(CMD_IR_PALETTE);
    link_sender.sendCommand4(CMD_IR_PALETTE, 1, 3, 0, 0);
    EXPECT_EQ(stop_timer, 1);
    link_sender.sendCommandWord(CMD_TRACK_POINT, 9, 0);
    EXPECT_EQ(stop_timer, 0) << "its expiry would end what came after";
    EXPECT_FALSE(guard.standing());
}

TEST_F(Movements, AStopTimersOwnCodeStopsNothingElse) {
    choose(CMD_IR_PALETTE);
    last_code = CMD_VL_LENS;
    stopTimerExpires();
    EXPECT_EQ(codes(), Codes{CMD_IR_PALETTE});
}

TEST_F(Movements, ASecondPressEndsTheFirstWithItsOwnStop) {
    press(button, CMD_VL_LENS);
    pressArrow(other);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, kRate}));
    EXPECT_FALSE(button);
    release(button);
    EXPECT_EQ(codes(), Codes{}) << "it was let go already";
    release(other);
    EXPECT_EQ(codes(), Codes{-kRate});
}

TEST_F(Movements, ACommandWhileHeldEndsTheHoldFirst) {
    pressArrow(picture);
    wheel(CMD_VL_LENS);
    EXPECT_EQ(codes(), (Codes{kRate, -kRate, kVl}));
    EXPECT_FALSE(picture);
}

TEST_F(Movements, CodesWithoutAStopPutNothingMoreOnTheWire) {
    press(button, CMD_GYRO_RATE, 3);
    press(other, CMD_STOW);
    EXPECT_EQ(codes(), (Codes{CMD_GYRO_RATE, CMD_STOW}));
    EXPECT_FALSE(button);
}

TEST_F(Movements, TheDragsLimitDropsNoStopAndIsNotRestarted) {
    wheel(CMD_VL_LENS);
    drag = true;
    restarted_ms = now_ms = 1000;
    clock_reads = 0;
    zoomExpires();
    EXPECT_EQ(codes(), (Codes{kVl, -kVl}));
    EXPECT_EQ(clock_reads, 0);
    wheel(CMD_VL_LENS);
    EXPECT_EQ(codes(), Codes{}) << "the limit holds for commands";
    EXPECT_GT(clock_reads, 0);
}

TEST_F(Movements, APressOfAnUnknownControlEndsWhatStands) {
    wheel(CMD_IR_LENS);
    button = true;
    guard.holdBegins(&button, 0);
    EXPECT_EQ(codes(), (Codes{kIr, -kIr}));
    release(button);
    EXPECT_EQ(codes(), Codes{-kIr}) << "the last code, as ever";
}

TEST_F(Movements, AHolderThatIsGoneIsEndedAllTheSame) {
    press(button, CMD_VL_LENS);
    button = false;  // answers to let_go no more
    pressArrow(other);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, kRate}));
}

struct Periodic : Movements {
    Periodic() { single = false; }
};

TEST_F(Periodic, TwoCommandsWithinOnePeriodStayAsTheyAre) {
    wheel(CMD_VL_LENS);
    pressArrow(button);
    EXPECT_EQ(codes(), Codes{}) << "the lens never moved";
    EXPECT_EQ(ticks(1), Codes{kRate});
}

TEST_F(Periodic, AMovementThatHasGoneOutGetsAFrameOfItsOwn) {
    wheel(CMD_IR_LENS);
    ticks(1);
    pressArrow(button);
    EXPECT_EQ(codes(), Codes{-kIr});
    EXPECT_EQ(ticks(2), (Codes{kRate, kRate}));
    press(other, CMD_VL_LENS);
    EXPECT_EQ(codes(), Codes{-kRate});
    EXPECT_EQ(ticks(1), Codes{kVl});
    release(other);
    EXPECT_EQ(ticks(3), (Codes{kVl, -kVl, 0, 0}));
}

TEST_F(Periodic, OtherCodesGetNone) {
    press(button, CMD_GYRO_RATE, 3);
    ticks(1);
    press(other, CMD_STOW);
    EXPECT_EQ(codes(), Codes{});
}

// Between the release and its tick, and between that and the frame with zero rates, nothing may be lost.
TEST_F(Periodic, AReleaseThatIsStillToGoOutIsNotOverwritten) {
    press(button, CMD_VL_LENS);
    ticks(1);
    release(button);
    pressArrow(other);
    EXPECT_EQ(codes(), Codes{-kVl});
    ticks(1);
    release(other);
    ticks(1);
    press(button, CMD_VL_LENS);
    EXPECT_EQ(codes(), Codes{-kRate}) << "the zero rates had not gone out yet";
}

// A payload leaves the rates of the frame as they are.
TEST_F(Periodic, APayloadDoesNotReviveARateThatHasEnded) {
    const std::uint8_t payload[9] = {1};
    const auto frameTurns = [this] { return frame.rate_x != 0 || frame.rate_y != 0; };
    pressArrow(button);
    ticks(1);
    other = true;
    guard.holdBegins(&other, CMD_TIME_SYNC);
    link_sender.sendCommandPayload(CMD_TIME_SYNC, payload, sizeof payload);
    EXPECT_EQ(codes(), Codes{-kRate});
    EXPECT_FALSE(frameTurns());
    release(other);
    ticks(2);
    pressArrow(button);
    release(button);
    link_sender.sendCommandPayload(CMD_TIME_SYNC, payload, sizeof payload);
    EXPECT_FALSE(frameTurns()) << "pressed and let go before any tick";
    link_sender.sendCommandRate(0, CMD_SERVO_RATE, 5, 0);
    link_sender.sendCommandPayload(CMD_TIME_SYNC, payload, sizeof payload);
    EXPECT_TRUE(frameTurns()) << "a rate that nobody let go stands beside it";
}

TEST_F(Periodic, TheSameAgainNeedsNoEnd) {
    press(button, CMD_VL_LENS, 1);
    ticks(1);
    release(button);
    press(button, CMD_VL_LENS, 1);
    EXPECT_EQ(codes(), Codes{});
    ticks(1);
    release(button);
    press(other, CMD_VL_LENS, 3);
    EXPECT_EQ(codes(), Codes{-kVl}) << "focus after zoom";
    pressArrow(picture);
    ticks(1);
    release(picture);
    pressArrow(other);
    EXPECT_EQ(codes(), Codes{}) << "the new rates take the place of the old";
}

TEST_F(Periodic, TheWheelTurnedBackIsOneMovement) {
    wheel(CMD_VL_LENS, 1);
    ticks(1);
    wheel(CMD_VL_LENS, 2);
    EXPECT_EQ(codes(), Codes{});
}

TEST_F(Periodic, EverythingEndsWithTwoTicks) {
    press(button, CMD_VL_LENS);
    ticks(1);
    guard.endAll(true);
    EXPECT_FALSE(button);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, 0}));
    guard.endAll(true);
    EXPECT_EQ(codes(), Codes{}) << "nothing stands";
}

TEST_F(Periodic, AReleasedRateEndsWithTwoTicks) {
    pressArrow(button);
    ticks(1);
    release(button);
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{kRate, -kRate}));
    pressArrow(button);
    ticks(1);
    release(button);
    ticks(1);
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{-kRate, -kRate})) << "released, the zero rates not yet out";
    guard.endAll(true);
    EXPECT_EQ(codes(), Codes{});
}

TEST_F(Periodic, ACommandLetGoBeforeAnyTickEndsWithTwoTicksToo) {
    press(button, CMD_VL_LENS);
    release(button);
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, 0}));
    press(button, CMD_STOW);
    release(button);
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{CMD_STOW, 0}));
}

TEST_F(Periodic, TheLeastRateAboutEitherAxisIsAMovement) {
    const std::pair<std::int16_t, std::int16_t> rates[] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
    for (const auto& [x, y] : rates) {
        pressArrow(button, x, y);
        release(button);
        guard.endAll(true);
        EXPECT_EQ(codes(), (Codes{kRate, -kRate})) << x << " " << y << ", let go before any tick";
        pressArrow(button, x, y);
        ticks(1);
        press(other, CMD_VL_LENS);
        EXPECT_EQ(codes(), Codes{-kRate}) << x << " " << y;
        guard.endAll(true);
        codes();
    }
}

TEST_F(Periodic, WithoutALinkACommandStaysForTheNextOpening) {
    link_sender.sendCommand4(CMD_STOW, 0, 0, 0, 0);
    guard.endAll(true);
    EXPECT_EQ(codes(), Codes{}) << "nobody let it go";
    press(button, CMD_VL_LENS);
    guard.endAll(false);
    EXPECT_EQ(codes(), Codes{});
    EXPECT_EQ(ticks(2), (Codes{kVl, -kVl, 0}));
}

TEST_F(Periodic, WhatALinkThatIsGoneWasToldIsForgotten) {
    press(button, CMD_VL_LENS);
    ticks(1);
    guard.endAll(false);
    pressArrow(other);
    ticks(1);
    guard.endAll(false);
    sent.clear();
    press(button, CMD_STOW);
    EXPECT_EQ(codes(), Codes{});
}

TEST_F(Periodic, TheModeInWhichAMovementBeganEndsIt) {
    press(button, CMD_VL_LENS);
    ticks(1);
    single = true;
    EXPECT_FALSE(guard.singleMode());
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl, 0}));
    press(button, CMD_IR_LENS);
    single = false;
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{kIr, -kIr}));
    EXPECT_EQ(ticks(1), Codes{0});
}

TEST_F(Periodic, AbandonedEverythingEndsWithoutAWordToTheControls) {
    guard.surroundings.let_go = [](const void*) { ADD_FAILURE(); };
    pressArrow(button);
    ticks(1);
    guard.abandon(true);
    EXPECT_EQ(codes(), (Codes{kRate, -kRate}));
    single = true;
    press(button, CMD_VL_LENS);
    guard.abandon(true);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl}));
}

TEST_F(Movements, EverythingThatStandsEndsInSingleMode) {
    wheel(CMD_VL_LENS);
    guard.endAll(true);
    EXPECT_EQ(codes(), (Codes{kVl, -kVl}));
    EXPECT_EQ(zoom_timers, 0);
    press(button, CMD_IR_LENS);
    guard.endAll(false);
    EXPECT_EQ(codes(), (Codes{kIr, -kIr}));
    guard.endAll(true);
    EXPECT_EQ(codes(), Codes{});
}

}  // namespace
}  // namespace sorvane
