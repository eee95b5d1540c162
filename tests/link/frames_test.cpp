#include "link/frames.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace sorvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const FixedCommandFrame& frame) {
    return Bytes(frame.bytes(), frame.bytes() + kFixedFrameSize);
}

// Every field of its own, so that a swapped pair shows.
NavBlock sampleNav() {
    NavBlock nav;
    nav.pitch = -123;     // 85 FF
    nav.roll = 456;       // C8 01
    nav.heading = 35999;  // 9F 8C
    nav.year = 26;
    nav.month = 11;
    nav.day = 21;
    nav.hour = 13;
    nav.minute = 14;
    nav.second = 15;
    nav.hundredths = 99;
    nav.longitude = 1185000000;  // 118.5 degrees: 40 AA A1 46 as an integer, 00 00 ED 42 as a float
    nav.latitude = -322500000;   // -32.25 degrees: 60 0A C7 EC as an integer, 00 00 01 C2 as a float
    nav.satellites = 17;
    nav.altitude = -2;
    nav.north_speed = 300;   // 2C 01
    nav.east_speed = -300;   // D4 FE
    nav.ground_speed = 424;  // A8 01
    return nav;
}

const Bytes kNavOnFixedFrame = {0x85, 0xFF, 0xC8, 0x01, 0x9F, 0x8C, 26,   11,   21,   13,
                                14,   15,   99,   0x00, 0x00, 0xED, 0x42, 0x00, 0x00, 0x01,
                                0xC2, 0x11, 0xFE, 0xFF, 0x2C, 0x01, 0xD4, 0xFE, 0xA8, 0x01};

TEST(FixedFrame, IdleForm) {
    FixedCommandFrame frame;
    std::memset(static_cast<void*>(&frame), 0x5A, sizeof frame);
    resetFixedFrame(frame);
    Bytes expected(44, 0);
    expected[0] = 0xFB;
    expected[1] = 0x2C;
    expected[43] = 0xF0;
    EXPECT_EQ(bytesOf(frame), expected);
    EXPECT_EQ(bytesOf(FixedCommandFrame()), expected);
}

TEST(FixedFrame, GoldenBytesWithPositionAsFloats) {
    FixedCommandFrame frame;
    frame.code = 0x45;
    frame.p[0] = 3;
    frame.p[1] = 4;
    frame.rate_code = 0x70;
    frame.rate_x = -2;
    frame.rate_y = 513;
    completeFixedFrame(frame, sampleNav(), nullptr);

    Bytes expected = {0xFB, 0x2C, 0x45, 3, 4, 0, 0};
    expected.insert(expected.end(), kNavOnFixedFrame.begin(), kNavOnFixedFrame.end());
    for (const int b : {0x70, 0xFE, 0xFF, 0x01, 0x02, 0x29, 0xF0}) {
        expected.push_back(static_cast<std::uint8_t>(b));
    }
    ASSERT_EQ(expected.size(), 44U);
    EXPECT_EQ(bytesOf(frame), expected);
}

TEST(FixedFrame, LocalTimeReplacesTheTimeOfTheBlock) {
    FixedCommandFrame frame;
    const CalendarTime now{2031, 1, 2, 3, 4, 5, 67};
    completeFixedFrame(frame, sampleNav(), &now);
    Bytes expected = kNavOnFixedFrame;
    const std::uint8_t time[] = {31, 1, 2, 3, 4, 5, 6};
    std::memcpy(&expected[6], time, sizeof time);
    EXPECT_EQ(Bytes(frame.bytes() + 7, frame.bytes() + 37), expected);
}

TEST(FixedFrame, LongPayloadsKeepTheirBytes) {
    for (const int code : {0x20, 0x1B, 0x1C}) {
        FixedCommandFrame frame;
        frame.code = static_cast<std::uint8_t>(code);
        for (int i = 0; i < 12; ++i) {
            frame.bytes()[3 + i] = static_cast<std::uint8_t>(0xA0 + i);
        }
        const Bytes before = bytesOf(frame);
        const CalendarTime now{2031, 1, 2, 3, 4, 5, 67};
        completeFixedFrame(frame, sampleNav(), &now);
        Bytes expected = before;
        // A0 ^ ... ^ AB is 0.
        expected[42] = static_cast<std::uint8_t>(code);
        EXPECT_EQ(bytesOf(frame), expected) << code;
    }
}

TEST(FixedFrame, EndByteIsNotTouched) {
    FixedCommandFrame frame;
    frame.end = 0x11;
    completeFixedFrame(frame, NavBlock(), nullptr);
    EXPECT_EQ(frame.end, 0x11);
}

TEST(VariableFrame, GoldenBytesOfFourParameters) {
    const std::uint8_t p[] = {3, 4, 0, 0};
    // 06 ^ 45 ^ 00 ^ 03 ^ 04 = 44
    EXPECT_EQ(buildVariableFrame(0x45, p, 4), (Bytes{0xFB, 0x2C, 0xAA, 6, 0x45, 0, 3, 4, 0, 0, 0x44}));
}

TEST(VariableFrame, CodeIsLowByteFirst) {
    const std::uint8_t p[] = {0xFF};
    // 03 ^ 02 ^ 04 ^ FF = FA
    EXPECT_EQ(buildVariableFrame(0x0402, p, 1), (Bytes{0xFB, 0x2C, 0xAA, 3, 0x02, 0x04, 0xFF, 0xFA}));
}

TEST(VariableFrame, EmptyPayloadHasSevenBytesAndXorOfThree) {
    // 02 ^ 3B ^ 00 = 39
    EXPECT_EQ(buildVariableFrame(0x3B, nullptr, 0), (Bytes{0xFB, 0x2C, 0xAA, 2, 0x3B, 0, 0x39}));
}

TEST(VariableFrame, LongestPayload) {
    const Bytes payload(253, 0x01);
    const Bytes frame = buildVariableFrame(0x12, payload.data(), 253);
    ASSERT_EQ(frame.size(), 260U);
    EXPECT_EQ(frame[3], 0xFF);
    EXPECT_EQ(frame[258], 0x01);
    // FF ^ 12 ^ 00, and an odd count of 01.
    EXPECT_EQ(frame[259], 0xEC);
}

TEST(VariableFrame, RefusesWhatDoesNotFit) {
    const Bytes payload(300, 0x01);
    EXPECT_TRUE(buildVariableFrame(0x12, payload.data(), 254).empty());
    EXPECT_TRUE(buildVariableFrame(0x12, payload.data(), -1).empty());
    EXPECT_TRUE(buildVariableFrame(0x12, nullptr, 4).empty());
}

}  // namespace
}  // namespace sorvane
