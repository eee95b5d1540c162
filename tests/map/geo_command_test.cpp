#include "map/geo_command.h"

#include <gtest/gtest.h>

#include <limits>

namespace sorvane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::string hexOf(const GeoPayload& payload) {
    std::string text;
    for (const std::uint8_t byte : payload) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

TEST(GeoPayload, WordsAreLittleEndianAndTruncated) {
    // 112.44 -> 1124400000 = 0x4304fb80 and a hair; 33.75 -> 337500000 = 0x141dd760; 123.49 m -> 1234.
    EXPECT_EQ(hexOf(payloadOf({112.44000005, 33.75, 123.49})),
              "80fb0443"
              "60d71d14"
              "d2040000");
    // Toward zero also below it: -1.5e-7 degree is -1, -0.19 m is -1.
    EXPECT_EQ(hexOf(payloadOf({-1.5e-7, -0.9e-7, -0.19})),
              "ffffffff"
              "00000000"
              "ffffffff");
    EXPECT_EQ(hexOf(payloadOf({-180, -90, 0})),
              "002eb694"
              "00175bca"
              "00000000");
}

TEST(GeoPayload, NoNumberAndTooLargeStandAsTheSmallest) {
    EXPECT_EQ(hexOf(payloadOf({kNan, kNan, kNan})), "000000800000008000000080");
    EXPECT_EQ(hexOf(payloadOf({1e300, -1e300, 3e8})), "000000800000008000000080");
    EXPECT_EQ(hexOf(dialogPayload(std::numeric_limits<float>::quiet_NaN(), 3e38F)),
              "0000008000000080"
              "00000000");
}

TEST(GeoPayload, OfTheDialogHasTheAltitudeFirst) {
    EXPECT_EQ(hexOf(dialogPayload(0, 0)), "000000000000000000000000");
    // 33.75 is exact in single precision; 123.4F is 123.400001...
    EXPECT_EQ(hexOf(dialogPayload(33.75F, 123.4F)),
              "d2040000"
              "60d71d14"
              "00000000");
    // Single precision, then double: 22.5431F is 22.54310035705...
    EXPECT_EQ(hexOf(dialogPayload(22.5431F, -1.0F)),
              "f6ffffff"
              "dbcd6f0d"
              "00000000");
}

TEST(Texts, Cursor) {
    EXPECT_EQ(cursorText({112.44, -33.75, 12.3456789}),
              "Lon:112.440000        Lat:-33.750000        Alt:12.345679");
    EXPECT_EQ(cursorText({kNan, 0, 1}), "Lon:   nan        Lat:0.000000        Alt:1.000000");
}

TEST(Texts, FieldsOfTheDialog) {
    EXPECT_EQ(fieldText(112.44, 7), "112.4400000");
    EXPECT_EQ(fieldText(-12.34, 1), "-12.3");
    EXPECT_EQ(fieldText(0.0, 7), "");
    EXPECT_EQ(fieldText(-0.0, 1), "");
    // Not exactly 0 is written out.
    EXPECT_EQ(fieldText(1e-9, 7), "0.0000000");
    EXPECT_EQ(fieldText(kNan, 7), "nan");
    EXPECT_EQ(fieldText(1e300, 1).size(), 303U);
}

}  // namespace
}  // namespace sorvane
