#include "telemetry/sei_fields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "tests/telemetry/sei_by_hand.h"

namespace sorvane {
namespace {

SeiPayload byHand() {
    SeiPayload payload{};
    const Bytes bytes = seiPayload();
    std::copy(bytes.begin(), bytes.end(), payload.begin());
    return payload;
}

std::string shown(const SeiField& field, const SeiPayload& payload) {
    const PanelText text = seiText(field, payload);
    EXPECT_NE(text.kind, PanelText::Kind::kKeep) << field.object_name;
    return text.kind == PanelText::Kind::kWord ? text.word : text.number;
}

std::string shown(const char* object_name, const SeiPayload& payload) {
    for (const SeiFields& column : {seiLeftColumn(), seiRightColumn()}) {
        for (const SeiField& field : column) {
            if (std::strcmp(field.object_name, object_name) == 0) {
                return shown(field, payload);
            }
        }
    }
    return "(no field)";
}

// What a field shows when its `bytes` stand in a block of zeros.
std::string shownOf(const char* object_name, std::size_t offset, const Bytes& bytes) {
    SeiPayload payload{};
    std::copy(bytes.begin(), bytes.end(), payload.begin() + static_cast<std::ptrdiff_t>(offset));
    return shown(object_name, payload);
}

template <std::size_t N>
void expectColumn(const SeiFields& column, const ExpectedSei (&expected)[N]) {
    ASSERT_EQ(column.count, N);
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_STREQ(column.fields[i].object_name, expected[i].object_name);
        EXPECT_STREQ(column.fields[i].caption, expected[i].caption);
        EXPECT_EQ(shown(column.fields[i], byHand()), expected[i].text) << expected[i].caption;
    }
}

TEST(SeiFields, LeftColumnInOrder) { expectColumn(seiLeftColumn(), kSeiLeft); }
TEST(SeiFields, RightColumnInOrder) { expectColumn(seiRightColumn(), kSeiRight); }

int sizeOf(SeiType type) {
    switch (type) {
        case SeiType::kU8:
            return 1;
        case SeiType::kU24:
            return 3;
        case SeiType::kI32:
            return 4;
        default:
            return 2;
    }
}

// Bytes 16 to 89 belong to one field each.
TEST(SeiFields, TheFieldsFillTheBlock) {
    std::set<int> taken;
    int bytes = 0;
    for (const SeiFields& column : {seiLeftColumn(), seiRightColumn()}) {
        for (const SeiField& field : column) {
            for (int i = 0; i < sizeOf(field.type); ++i) {
                taken.insert(field.offset + i);
                ++bytes;
            }
        }
    }
    EXPECT_EQ(bytes, 74);
    EXPECT_EQ(taken.size(), 74U);
    EXPECT_EQ(*taken.begin(), 16);
    EXPECT_EQ(*taken.rbegin(), 89);
}

TEST(SeiFields, TheIdentifierAndTheLastBytesAreNotRead) {
    SeiPayload payload = byHand();
    std::memset(payload.data(), 0xA5, 16);
    std::memset(payload.data() + 90, 0xA5, 7);
    for (const ExpectedSei& row : kSeiLeft) {
        EXPECT_EQ(shown(row.object_name, payload), row.text);
    }
    for (const ExpectedSei& row : kSeiRight) {
        EXPECT_EQ(shown(row.object_name, payload), row.text);
    }
}

TEST(SeiFields, DatesHaveTheYearFirst) {
    EXPECT_EQ(shownOf("val_date", 29, {0x1A, 0x7B}), "2026/6/15");
    EXPECT_EQ(shownOf("val_date", 29, {0x00, 0x00}), "2000/0/0");
    EXPECT_EQ(shownOf("val_date", 29, {0xFF, 0xFF}), "2127/15/31");
    EXPECT_EQ(shownOf("val_date", 29, {0x80, 0x00}), "2000/1/0");
    EXPECT_EQ(shownOf("val_date", 29, {0x00, 0x08}), "2000/0/1");
}

TEST(SeiFields, TimesGoOnBeyondADay) {
    EXPECT_EQ(shownOf("val_time", 31, {0x00, 0x00, 0x00}), "00:00:00");
    EXPECT_EQ(shownOf("val_time", 31, {0x63, 0x00, 0x00}), "00:00:00");  // 0.99 s
    EXPECT_EQ(shownOf("val_time", 31, {0x64, 0x00, 0x00}), "00:00:01");
    EXPECT_EQ(shownOf("val_time", 31, {0xFF, 0xD5, 0x83}), "23:59:59");  // 86399.99 s
    EXPECT_EQ(shownOf("val_time", 31, {0x00, 0xD6, 0x83}), "24:00:00");
    EXPECT_EQ(shownOf("val_time", 31, {0xFF, 0xFF, 0xFF}), "46:36:12");  // 167772.15 s
}

// Hundredths become seconds as their product with 0.01 does, cut off.
TEST(SeiFields, EverySecondIsThatOfTheProduct) {
    for (std::uint32_t hundredths = 0; hundredths < 0x1000000U; hundredths += 7) {
        for (const std::uint32_t t : {hundredths, hundredths / 100 * 100}) {
            const auto seconds = static_cast<int>(t * 0.01);
            ASSERT_EQ(t / 100, static_cast<std::uint32_t>(seconds)) << t;
        }
    }
}

TEST(SeiFields, TrackingModes) {
    EXPECT_EQ(shownOf("val_track_mode", 76, {0}), "--");
    EXPECT_EQ(shownOf("val_track_mode", 76, {1}), "可见光");
    EXPECT_EQ(shownOf("val_track_mode", 76, {2}), "红外");
    EXPECT_EQ(shownOf("val_track_mode", 76, {3}), "--");
    EXPECT_EQ(shownOf("val_track_mode", 76, {255}), "--");
}

TEST(SeiFields, WhetherItIsTooHotHangsOnTheTrackingMode) {
    SeiPayload payload{};
    const auto alarm = [&payload](int flag, int mode) {
        payload[89] = static_cast<std::uint8_t>(flag);
        payload[76] = static_cast<std::uint8_t>(mode);
        return shown("val_temp_alarm", payload);
    };
    for (const int mode : {0, 1, 2, 255}) {
        EXPECT_EQ(alarm(1, mode), "超温") << mode;
    }
    for (const int flag : {0, 2, 255}) {
        EXPECT_EQ(alarm(flag, 0), "未超温") << flag;
        EXPECT_EQ(alarm(flag, 1), "--") << flag;
        EXPECT_EQ(alarm(flag, 2), "--") << flag;
    }
}

TEST(SeiFields, SignsAreThoseOfTheFields) {
    const Bytes ones = {0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(shownOf("val_uav_number", 16, ones), "65535");
    EXPECT_EQ(shownOf("val_battery", 18, ones), "255");
    EXPECT_EQ(shownOf("val_heading", 23, ones), "-0.01");
    EXPECT_EQ(shownOf("val_heading", 23, {0x00, 0x80}), "-327.68");
    EXPECT_EQ(shownOf("val_longitude", 34, {0x00, 0x00, 0x00, 0x80}), "-214.7483648");
    EXPECT_EQ(shownOf("val_latitude", 38, {0xFF, 0xFF, 0xFF, 0x7F}), "214.7483647");
    EXPECT_EQ(shownOf("val_altitude", 42, {0x00, 0x00, 0x00, 0x80}), "-2147483.648");
    EXPECT_EQ(shownOf("val_vertical_speed", 50, ones), "655.35m/s") << "unsigned";
    EXPECT_EQ(shownOf("val_ir_fov", 74, ones), "655.35");
    EXPECT_EQ(shownOf("val_track_left", 77, {0x00, 0x80}), "-32768");
    EXPECT_EQ(shownOf("val_track_width", 81, ones), "65535");
    EXPECT_EQ(shownOf("val_center_temp", 87, {0x00, 0x80}), "-3276.8");
}

// The texts are those of a plain print of the product, for every 16-bit value.
TEST(SeiFields, NumbersAreThoseOfThePrintedProduct) {
    SeiPayload payload{};
    char expected[32];
    for (int bits = 0; bits < 0x10000; ++bits) {
        payload[23] = payload[48] = payload[85] = static_cast<std::uint8_t>(bits);
        payload[24] = payload[49] = payload[86] = static_cast<std::uint8_t>(bits >> 8);
        const int value = bits < 0x8000 ? bits : bits - 0x10000;
        std::snprintf(expected, sizeof expected, "%.2f", value * 0.01);
        ASSERT_EQ(shown("val_heading", payload), expected);
        std::snprintf(expected, sizeof expected, "%.2fm/s", bits * 0.01);
        ASSERT_EQ(shown("val_horizontal_speed", payload), expected);
        std::snprintf(expected, sizeof expected, "%.1f", value * 0.1);
        ASSERT_EQ(shown("val_temp_alarm_set", payload), expected);
    }
}

}  // namespace
}  // namespace sorvane
