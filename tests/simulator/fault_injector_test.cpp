#include "simulator/wire/fault_injector.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace podsim {
namespace {

using Packet = FaultInjector::Packet;

constexpr std::int64_t kMs = 1'000'000;

Packet packetOf(int number) {
    return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8), 0xAA, 0x55};
}

// What comes out of `count` packets, one each 10 ms, everything waited for.
std::vector<Packet> runThrough(const FaultSettings& settings, std::uint64_t seed, int count) {
    FaultInjector injector(seed);
    injector.set(settings);
    std::vector<Packet> out;
    std::int64_t now = 0;
    for (int i = 0; i < count; ++i, now += 10 * kMs) {
        injector.push(packetOf(i), now);
        while (auto p = injector.pop(now)) {
            out.push_back(*p);
        }
    }
    while (const auto due = injector.nextDue()) {
        while (auto p = injector.pop(*due)) {
            out.push_back(*p);
        }
    }
    return out;
}

std::vector<Packet> plain(int count) {
    std::vector<Packet> all;
    for (int i = 0; i < count; ++i) {
        all.push_back(packetOf(i));
    }
    return all;
}

TEST(FaultInjector, NothingOnChangesNothing) { EXPECT_EQ(runThrough({}, 3, 500), plain(500)); }

TEST(FaultInjector, EqualSeedsGiveEqualResults) {
    FaultSettings s;
    s.loss = 0.1;
    s.duplicate = 0.1;
    s.reorder = 0.1;
    s.corrupt = 0.1;
    s.delay_ms = 35;
    EXPECT_EQ(runThrough(s, 42, 2000), runThrough(s, 42, 2000));
    EXPECT_NE(runThrough(s, 42, 2000), runThrough(s, 43, 2000));
}

TEST(FaultInjector, OneFaultLeavesTheOthersDrawsAlone) {
    FaultSettings loss;
    loss.loss = 0.2;
    FaultSettings both = loss;
    both.corrupt = 1;
    const auto a = runThrough(loss, 5, 1000);
    const auto b = runThrough(both, 5, 1000);
    EXPECT_EQ(a.size(), b.size());
}

TEST(FaultInjector, LossTakesAboutItsShareAndKeepsTheOrder) {
    FaultSettings s;
    s.loss = 0.3;
    const auto out = runThrough(s, 1, 10000);
    EXPECT_GT(out.size(), 6500u);
    EXPECT_LT(out.size(), 7500u);
    const auto number = [](const Packet& p) { return p[0] | p[1] << 8; };
    EXPECT_TRUE(std::is_sorted(out.begin(), out.end(),
                               [&](const Packet& a, const Packet& b) { return number(a) < number(b); }));
}

TEST(FaultInjector, CertainLossAndSilenceLetNothingOut) {
    FaultSettings s;
    s.loss = 1;
    EXPECT_TRUE(runThrough(s, 1, 100).empty());
    s = {};
    s.silence = true;
    EXPECT_TRUE(runThrough(s, 1, 100).empty());
}

TEST(FaultInjector, CertainDuplicationDoublesEach) {
    FaultSettings s;
    s.duplicate = 1;
    const auto out = runThrough(s, 1, 50);
    ASSERT_EQ(out.size(), 100u);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(out[static_cast<std::size_t>(i)], packetOf(i / 2));
    }
}

TEST(FaultInjector, CertainReorderingSwapsNeighbours) {
    FaultSettings s;
    s.reorder = 1;
    const auto out = runThrough(s, 1, 6);
    const int expected[] = {1, 0, 3, 2, 5, 4};
    ASSERT_EQ(out.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(out[i], packetOf(expected[i]));
    }
}

TEST(FaultInjector, HeldPacketGoesByItselfWhenNothingFollows) {
    FaultSettings s;
    s.reorder = 1;
    FaultInjector injector(1);
    injector.set(s);
    injector.push(packetOf(9), 0);
    EXPECT_FALSE(injector.pop(0));
    ASSERT_TRUE(injector.nextDue());
    EXPECT_EQ(*injector.nextDue(), 200 * kMs);
    EXPECT_FALSE(injector.pop(199 * kMs));
    EXPECT_EQ(injector.pop(200 * kMs), packetOf(9));
    EXPECT_FALSE(injector.nextDue());
}

TEST(FaultInjector, CorruptionFlipsOneBit) {
    FaultSettings s;
    s.corrupt = 1;
    const auto out = runThrough(s, 8, 200);
    ASSERT_EQ(out.size(), 200u);
    for (int i = 0; i < 200; ++i) {
        const Packet good = packetOf(i);
        int bits = 0;
        for (std::size_t k = 0; k < good.size(); ++k) {
            bits += __builtin_popcount(static_cast<unsigned>(good[k] ^ out[static_cast<std::size_t>(i)][k]));
        }
        EXPECT_EQ(bits, 1);
    }
    FaultInjector injector(1);
    injector.set(s);
    injector.push({}, 0);
    EXPECT_EQ(injector.pop(0), Packet{});
}

TEST(FaultInjector, DelayHoldsUntilDue) {
    FaultSettings s;
    s.delay_ms = 30;
    FaultInjector injector(1);
    injector.set(s);
    injector.push(packetOf(1), 5 * kMs);
    EXPECT_EQ(*injector.nextDue(), 35 * kMs);
    EXPECT_FALSE(injector.pop(34 * kMs));
    EXPECT_EQ(injector.pop(35 * kMs), packetOf(1));
}

TEST(PicturePause, RestsOnceInEverySoManythPictureBehindItsBytes) {
    FaultSettings s;
    s.pause_ms = 70;
    s.pause_after = 250;
    s.pause_every = 3;
    PicturePause pause;
    std::string rests;
    for (int picture = 0; picture < 7; ++picture) {
        for (int piece = 0; piece < 5; ++piece) {
            const int ms = pause.restBehind(100, piece == 4, s);
            rests += ms == 70 ? 'R' : ms == 0 ? '.' : '?';
        }
        rests += ' ';
    }
    EXPECT_EQ(rests, "..... ..... ..R.. ..... ..... ..R.. ..... ");
}

TEST(PicturePause, PassesOverWhatIsTooShortAndNeverRestsBehindAPicture) {
    FaultSettings s;
    s.pause_ms = 5;
    s.pause_after = 400;
    s.pause_every = 1;
    PicturePause pause;
    EXPECT_EQ(pause.restBehind(300, true, s), 0);
    EXPECT_EQ(pause.restBehind(300, false, s), 0) << "counted anew in each picture";
    EXPECT_EQ(pause.restBehind(300, true, s), 0) << "nothing follows";
    EXPECT_EQ(pause.restBehind(400, false, s), 5);
    EXPECT_EQ(pause.restBehind(400, true, s), 0);
    EXPECT_EQ(pause.restBehind(400, false, {}), 0);
}

TEST(FaultSwitches, OfVideoAloneAreRead) {
    std::string error;
    FaultSettings s;
    for (const char* text : {"video.pause=250", "video.pause-after=3000", "video.pause-every=7"}) {
        const auto fault = parseFault(text, error);
        ASSERT_TRUE(fault) << text << ": " << error;
        EXPECT_EQ(fault->stream, FaultSwitch::Stream::kVideo);
        applyFault(*fault, s);
    }
    EXPECT_TRUE(s.any());
    EXPECT_EQ(describeFaults(s), "pause=250 pause-after=3000 pause-every=7");
    for (const char* text : {"telemetry.pause=1", "video.pause=-1", "video.pause=5001", "video.pause-after=0",
                             "video.pause-after=10000001", "video.pause-every=0", "video.pause-every=x"}) {
        EXPECT_FALSE(parseFault(text, error)) << text;
    }
}

TEST(FaultSwitches, AreRead) {
    std::string error;
    const auto loss = parseFault("telemetry.loss=0.25", error);
    ASSERT_TRUE(loss);
    EXPECT_EQ(loss->stream, FaultSwitch::Stream::kTelemetry);
    const auto stall = parseFault("video.stall=on", error);
    ASSERT_TRUE(stall);
    EXPECT_EQ(stall->stream, FaultSwitch::Stream::kVideo);
    FaultSettings s;
    for (const char* text : {"telemetry.loss=0.25", "telemetry.duplicate=1", "telemetry.reorder=0.5",
                             "telemetry.corrupt=0.125", "telemetry.delay=80", "telemetry.silence=on"}) {
        const auto fault = parseFault(text, error);
        ASSERT_TRUE(fault) << text << ": " << error;
        applyFault(*fault, s);
    }
    EXPECT_EQ(describeFaults(s), "loss=0.25 duplicate=1 reorder=0.5 corrupt=0.125 delay=80 silence=on");
    applyFault(*parseFault("telemetry.silence=off", error), s);
    EXPECT_FALSE(s.silence);
    EXPECT_EQ(describeFaults(FaultSettings()), "none");
    EXPECT_FALSE(FaultSettings().any());
    EXPECT_TRUE(s.any());
}

TEST(FaultSwitches, NonsenseIsRefusedWithAReason) {
    for (const char* text :
         {"", "loss=1", "telemetry.loss", "telemetry=1", "telemetry.loss=", "telemetry.loss=2",
          "telemetry.loss=-0.1", "telemetry.loss=x", "telemetry.loss=0.1x", "telemetry.loss=nan",
          "telemetry.delay=-1", "telemetry.delay=60001", "telemetry.stall=on", "telemetry.silence=1",
          "video.wind=1", "audio.loss=0.1", "telemetry.=1"}) {
        std::string error;
        EXPECT_FALSE(parseFault(text, error)) << text;
        EXPECT_FALSE(error.empty()) << text;
    }
}

}  // namespace
}  // namespace podsim
