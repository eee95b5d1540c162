#include "simulator/wire/wire.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/simulator/hex.h"

namespace podsim::wire {
namespace {

// Servo rate -500, 300 with the aircraft at 114.5 E, 30.25 N.
const char* const kRateFrame =
    "FB 2C 00 00 00 00 00 64 00 38 FF 78 69 1A 06 0F 08 1E 3B 63 00 00 E5 42 00 00 F2 41 11 D2 04 98 "
    "FE D0 02 25 03 70 0C FE 2C 01 01 F0";
// Visible lens, action 3, speed 7, nothing else.
const char* const kLensFrame =
    "FB 2C 45 03 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 00 00 41 F0";
// Point at 114.5 E, 30.25 N, 123.4 m.
const char* const kGeoFrame =
    "FB 2C 1B 40 50 3F 44 A0 C8 07 12 D2 04 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 00 00 DB F0";
const char* const kTrackPoint = "FB 2C AA 06 3A 00 88 FF 2D 00 66";
const char* const kCentre = "FB 2C AA 02 71 00 73";
const char* const kNav =
    "FB 2C AA 20 02 04 64 00 38 FF 78 69 1A 06 0F 08 1E 3B 63 40 50 3F 44 A0 C8 07 12 11 D2 04 98 FE D0 "
    "02 25 03 8A";

std::vector<Command> parse(CommandParser& parser, const Bytes& bytes) {
    std::vector<Command> found;
    parser.feed(bytes.data(), bytes.size(), [&](const Command& c) { found.push_back(c); });
    return found;
}

std::vector<Command> parse(const Bytes& bytes) {
    CommandParser parser;
    return parse(parser, bytes);
}

Bytes join(std::initializer_list<const char*> frames) {
    Bytes all;
    for (const char* frame : frames) {
        const Bytes one = bytesOf(frame);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

const std::initializer_list<const char*> kAllFrames = {kRateFrame,  kLensFrame, kGeoFrame,
                                                       kTrackPoint, kCentre,    kNav};

Report goldenReport() {
    Report r;
    r.load_type = 4;
    r.module_status = 0xBF;
    r.status_word_a = 0x0C51;
    r.status_word_b = 0x3A82;
    r.servo_state = 7;
    r.frame_yaw = -4512;
    r.frame_pitch = 1234;
    r.frame_roll = -56;
    r.load_version = 0x12;
    r.ir_fov = 256;
    r.tf_free_percent = 73;
    r.vl_fov = 321;
    r.tf_capacity = 640;
    r.ir_focal_length = 1000;
    r.vl_focal_length = 452;
    r.laser_distance = 12345;
    r.target_longitude_deg = 114.5;
    r.target_latitude_deg = -30.25;
    r.target_altitude = -37;
    r.driver_temperature = 415;
    r.attitude_yaw = 9000;
    r.attitude_pitch = -3000;
    r.attitude_roll = 12;
    r.display_mode = 6;
    r.command_feedback = 58;
    r.attitude_guidance_feedback = 18;
    r.track_x = -120;
    r.track_y = 77;
    r.target_width = 64;
    r.target_height = 48;
    r.target_type = 4;
    r.track_state = 1;
    r.max_temperature = -15;
    return r;
}

TEST(CommandParser, FixedFrameWithRateAndNav) {
    const auto found = parse(bytesOf(kRateFrame));
    ASSERT_EQ(found.size(), 1u);
    const Command& c = found[0];
    EXPECT_EQ(c.frame, Command::Frame::kFixed);
    EXPECT_EQ(c.code, 0);
    EXPECT_EQ(c.payload, (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(c.rate_code, kRateCode);
    EXPECT_EQ(c.rate_azimuth, -500);
    EXPECT_EQ(c.rate_pitch, 300);
    ASSERT_TRUE(c.has_nav);
    EXPECT_DOUBLE_EQ(c.nav.pitch_deg, 1.0);
    EXPECT_DOUBLE_EQ(c.nav.roll_deg, -2.0);
    EXPECT_DOUBLE_EQ(c.nav.heading_deg, 270.0);
    EXPECT_EQ(c.nav.year, 26);
    EXPECT_EQ(c.nav.month, 6);
    EXPECT_EQ(c.nav.day, 15);
    EXPECT_EQ(c.nav.hour, 8);
    EXPECT_EQ(c.nav.minute, 30);
    EXPECT_EQ(c.nav.second, 59);
    EXPECT_EQ(c.nav.hundredths, 99);
    EXPECT_EQ(c.nav.longitude_deg, 114.5);
    EXPECT_EQ(c.nav.latitude_deg, 30.25);
    EXPECT_EQ(c.nav.satellites, 17);
    EXPECT_EQ(c.nav.altitude_m, 1234);
    EXPECT_DOUBLE_EQ(c.nav.north_speed_mps, -10.0);
    EXPECT_DOUBLE_EQ(c.nav.east_speed_mps, 20.0);
    EXPECT_NEAR(c.nav.ground_speed_mps, 22.3611, 1e-4);
    EXPECT_EQ(c.raw, bytesOf(kRateFrame));
}

TEST(CommandParser, FixedFrameWithParameters) {
    const auto found = parse(bytesOf(kLensFrame));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].code, 69);
    EXPECT_EQ(found[0].payload, (Bytes{3, 7, 0, 0}));
    EXPECT_EQ(found[0].rate_code, 0);
}

TEST(CommandParser, LongPayloadTakesThePlaceOfTheNavBlock) {
    const auto found = parse(bytesOf(kGeoFrame));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].code, 27);
    EXPECT_EQ(found[0].payload, bytesOf("40 50 3F 44 A0 C8 07 12 D2 04 00 00"));
    EXPECT_FALSE(found[0].has_nav);
}

TEST(CommandParser, VariableFrames) {
    const auto found = parse(join({kTrackPoint, kCentre, kNav}));
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].frame, Command::Frame::kVariable);
    EXPECT_EQ(found[0].code, 58);
    EXPECT_EQ(found[0].payload, bytesOf("88 FF 2D 00"));
    EXPECT_FALSE(found[0].has_nav);
    EXPECT_EQ(found[1].code, 113);
    EXPECT_TRUE(found[1].payload.empty());
    EXPECT_EQ(found[2].code, 1026);
    ASSERT_TRUE(found[2].has_nav);
    EXPECT_DOUBLE_EQ(found[2].nav.longitude_deg, 114.5);
    EXPECT_DOUBLE_EQ(found[2].nav.latitude_deg, 30.25);
}

TEST(CommandParser, EverySplitGivesTheSameFrames) {
    const Bytes all = join(kAllFrames);
    for (std::size_t cut = 0; cut <= all.size(); ++cut) {
        CommandParser parser;
        auto found = parse(parser, Bytes(all.begin(), all.begin() + static_cast<long>(cut)));
        const auto rest = parse(parser, Bytes(all.begin() + static_cast<long>(cut), all.end()));
        found.insert(found.end(), rest.begin(), rest.end());
        ASSERT_EQ(found.size(), kAllFrames.size()) << "cut at " << cut;
        std::size_t i = 0;
        for (const char* frame : kAllFrames) {
            EXPECT_EQ(found[i++].raw, bytesOf(frame)) << "cut at " << cut;
        }
        EXPECT_EQ(parser.held(), 0u);
    }
}

TEST(CommandParser, SingleBytes) {
    CommandParser parser;
    std::size_t found = 0;
    for (const std::uint8_t b : join(kAllFrames)) {
        parser.feed(&b, 1, [&](const Command&) { ++found; });
    }
    EXPECT_EQ(found, kAllFrames.size());
}

TEST(CommandParser, TruncatedFrameIsNoFrameAndTheNextOneIsFound) {
    for (const char* frame : kAllFrames) {
        const Bytes whole = bytesOf(frame);
        for (std::size_t n = 0; n < whole.size(); ++n) {
            CommandParser parser;
            EXPECT_TRUE(parse(parser, Bytes(whole.begin(), whole.begin() + static_cast<long>(n))).empty());
            // Behind the cut come good frames, then silence.
            auto found = parse(parser, join({kLensFrame, kCentre}));
            parser.giveUpPartial([&](const Command& c) { found.push_back(c); });
            ASSERT_EQ(found.size(), 2u) << frame << " cut to " << n;
            EXPECT_EQ(found[0].code, 69);
            EXPECT_EQ(found[1].code, 113);
            EXPECT_EQ(parser.held(), 0u);
        }
    }
}

TEST(CommandParser, EveryFlippedBitIsNoticed) {
    for (const char* frame : kAllFrames) {
        const Bytes good = bytesOf(frame);
        for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
            Bytes bad = good;
            bad[bit / 8] = static_cast<std::uint8_t>(bad[bit / 8] ^ 1u << bit % 8);
            CommandParser parser;
            auto found = parse(parser, bad);
            parser.giveUpPartial([&](const Command& c) { found.push_back(c); });
            for (const Command& c : found) {
                EXPECT_NE(c.raw.size(), good.size()) << frame << " bit " << bit;
            }
        }
    }
}

TEST(CommandParser, GoodFrameInsideABadOneIsFound) {
    Bytes bad = bytesOf(kLensFrame);
    const Bytes inner = bytesOf(kCentre);
    std::copy(inner.begin(), inner.end(), bad.begin() + 10);
    const auto found = parse(bad);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].code, 113);
}

TEST(CommandParser, NoiseAroundFrames) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        CommandParser parser;
        std::vector<Command> found;
        std::size_t sent = 0;
        Bytes stream;
        for (const char* frame : kAllFrames) {
            // Noise without the first byte of a frame cannot hide one.
            for (unsigned i = random() % 90; i > 0; --i) {
                const auto b = static_cast<std::uint8_t>(random());
                stream.push_back(b == 0xFB ? 0 : b);
            }
            const Bytes one = bytesOf(frame);
            stream.insert(stream.end(), one.begin(), one.end());
            ++sent;
        }
        for (std::size_t at = 0; at < stream.size();) {
            const std::size_t n = std::min<std::size_t>(stream.size() - at, 1 + random() % 40);
            parser.feed(stream.data() + at, n, [&](const Command& c) { found.push_back(c); });
            at += n;
        }
        ASSERT_EQ(found.size(), sent) << "round " << round;
    }
}

TEST(CommandParser, PureNoiseIsBoundedAndForgotten) {
    std::mt19937 random(11);
    CommandParser parser;
    Bytes noise(1 << 16);
    for (auto& b : noise) {
        b = static_cast<std::uint8_t>(random() % 4 == 0 ? 0xFB : random() % 3 == 0 ? 0x2C : random());
    }
    std::size_t found = 0;
    parser.feed(noise.data(), noise.size(), [&](const Command&) { ++found; });
    EXPECT_LT(parser.held(), 260u);
    parser.giveUpPartial([&](const Command&) { ++found; });
    EXPECT_EQ(parser.held(), 0u);
    EXPECT_GT(parser.counters().skipped_bytes, 60000u);
}

TEST(Report, FixedFrame) {
    EXPECT_EQ(
        buildFixedReport(goldenReport()),
        bytesOf("FC 2C 04 BF 51 0C 82 3A 07 60 EE D2 04 C8 FF 12 00 01 49 41 01 80 02 E8 03 C4 01 39 30 "
                "00 00 E5 42 00 00 F2 C1 DB FF 9F 01 28 23 48 F4 0C 00 06 3A 12 88 FF 4D 00 40 00 30 00 "
                "04 01 F1 FF 73 F0"));
}

TEST(Report, VariableFrameHasThePositionAsIntegers) {
    EXPECT_EQ(
        buildVariableReport(goldenReport()),
        bytesOf("FC 2C 55 3E 14 00 04 BF 51 0C 82 3A 07 60 EE D2 04 C8 FF 12 00 01 49 41 01 80 02 E8 03 "
                "C4 01 39 30 40 50 3F 44 60 37 F8 ED DB FF 9F 01 28 23 48 F4 0C 00 06 3A 12 88 FF 4D 00 "
                "40 00 30 00 04 01 F1 FF E4"));
}

TEST(Report, LoadTypeNeverLooksLikeTheOtherFrame) {
    Report r;
    r.load_type = 0x55;
    EXPECT_EQ(buildFixedReport(r)[2], 0);
}

TEST(VariableFrame, AnyCode) {
    const Bytes payload = {1, 2, 3};
    EXPECT_EQ(buildVariableFrame(19, payload.data(), payload.size()),
              bytesOf("FC 2C 55 05 13 00 01 02 03 16"));
    EXPECT_EQ(buildVariableFrame(0x3001, nullptr, 0), bytesOf("FC 2C 55 02 01 30 33"));
}

TEST(VariableFrame, LongestPayload) {
    const Bytes payload(254, 9);
    EXPECT_EQ(buildVariableFrame(19, payload.data(), 253).size(), 260u);
    EXPECT_EQ(buildVariableFrame(19, payload.data(), 253)[3], 255);
    EXPECT_TRUE(buildVariableFrame(19, payload.data(), 254).empty());
}

InsState goldenIns() {
    InsState s;
    s.utc_us = 1781483400250000;  // 2026-06-15 00:30:00.25
    s.heading_deg = 90.5;
    s.pitch_deg = -2.25;
    s.roll_deg = 0.5;
    s.latitude_deg = 30.25;
    s.longitude_deg = 114.5;
    s.altitude_m = 1234.5;
    s.east_mps = 20;
    s.north_mps = -10;
    s.ground_mps = 22.5;
    s.satellites_first = 9;
    s.satellites_second = 8;
    return s;
}

TEST(InsFrame, Golden) {
    EXPECT_EQ(
        buildInsFrame(goldenIns()),
        bytesOf("AA 55 00 3A 77 09 90 02 25 89 14 00 00 00 00 00 B5 42 00 00 10 C0 00 00 00 3F A0 C8 07 12 "
                "40 50 3F 44 44 D6 12 00 00 00 A0 41 00 00 20 C1 00 00 B4 41 00 00 00 00 09 08 00 9B"));
}

TEST(InsFrame, NeverASumThatReceiversDrop) {
    // The counts of satellites walk the sum through all its values.
    int bumped = 0;
    for (int n = 0; n < 256; ++n) {
        InsState s = goldenIns();
        s.satellites_first = n;
        const Bytes frame = buildInsFrame(s);
        unsigned sum = 0;
        for (std::size_t i = 0; i < 57; ++i) {
            sum += frame[i];
        }
        EXPECT_NE(sum % 256, 0u) << n;
        bumped += frame[50];
    }
    EXPECT_EQ(bumped, 1);
}

TEST(InterfaceFrame, Golden) {
    NavBlock nav;
    nav.pitch_deg = 1;
    nav.roll_deg = -2;
    nav.heading_deg = 270;
    nav.year = 26;
    nav.month = 6;
    nav.day = 15;
    nav.hour = 8;
    nav.minute = 30;
    nav.second = 59;
    nav.hundredths = 99;
    nav.longitude_deg = 114.5;
    nav.latitude_deg = 30.25;
    nav.satellites = 17;
    nav.altitude_m = 1234;
    nav.north_speed_mps = -10;
    nav.east_speed_mps = 20;
    nav.ground_speed_mps = 22.3611;
    EXPECT_EQ(
        buildInterfaceFrame(nav),
        bytesOf("FB 2C 00 00 00 00 00 64 00 38 FF 78 69 1A 06 0F 08 1E 3B 63 40 50 3F 44 A0 C8 07 12 11 D2 "
                "04 98 FE D0 02 25 03 00 00 00 00 00 AC F0"));
}

TEST(NavBlock, BothFormsComeBack) {
    NavBlock nav;
    nav.longitude_deg = -71.0625;
    nav.latitude_deg = 42.375;
    nav.heading_deg = 359.99;
    for (const auto form : {PositionForm::kFloatDegrees, PositionForm::kInteger}) {
        std::uint8_t block[kNavBlockSize];
        encodeNavBlock(nav, form, block);
        const NavBlock back = decodeNavBlock(block, form);
        EXPECT_NEAR(back.longitude_deg, nav.longitude_deg, 1e-7);
        EXPECT_NEAR(back.latitude_deg, nav.latitude_deg, 1e-7);
        EXPECT_NEAR(back.heading_deg, nav.heading_deg, 1e-9);
    }
}

TEST(Rounding, HoldsAtTheEnds) {
    EXPECT_EQ(toI16(40000), 32767);
    EXPECT_EQ(toI16(-40000), -32768);
    EXPECT_EQ(toU16(-1), 0);
    EXPECT_EQ(toU16(70000), 65535);
    EXPECT_EQ(toU8(300), 255);
    EXPECT_EQ(toI32(1e20), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(toI16(2.5), 3);
    EXPECT_EQ(toI16(std::nan("")), 0);
}

}  // namespace
}  // namespace podsim::wire
