#include "link/command_catalogue.h"

#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <string>

#include "sender_fixture.h"

namespace sorvane {
namespace {

using Frames = std::vector<Bytes>;

// Controls whose content the test writes down as text, number or state.
struct FakeControls : ControlReader {
    std::map<std::string, double> values;
    std::map<std::string, int> data;
    CalendarTime now{2026, 11, 21, 7, 9, 45, 678};

    double at(const char* object) const {
        const auto it = values.find(object);
        return it == values.end() ? 0.0 : it->second;
    }
    bool checked(const char* object) const override { return at(object) != 0; }
    int sliderValue(const char* object) const override { return static_cast<int>(at(object)); }
    int index(const char* object) const override { return static_cast<int>(at(object)); }
    int itemData(const char* object) const override {
        const auto it = data.find(object);
        return it == data.end() ? 0 : it->second;
    }
    int number(const char* object) const override { return static_cast<int>(at(object)); }
    float decimal(const char* object) const override { return static_cast<float>(at(object)); }
    CalendarTime localTime() const override { return now; }
};

struct Catalogue : SenderFixture {
    FakeControls controls;
    ServoMode servo = ServoMode::kFrame;

    Command command(ControlKind kind, const char* object, int value = 0) {
        const CatalogueRow* row = findControl(kind, object, servo);
        EXPECT_NE(row, nullptr) << object;
        return row != nullptr ? commandOf(*row, controls, value) : Command();
    }
    // Code and payload of the one variable frame that a control sends; empty when it sends none.
    Bytes wire(ControlKind kind, const char* object, int value = 0) {
        sent.clear();
        send(sender, command(kind, object, value));
        if (sent.empty()) {
            return {};
        }
        EXPECT_EQ(sent.size(), 1U);
        EXPECT_EQ(sent[0][5], 0);
        Bytes b = {sent[0][4]};
        b.insert(b.end(), sent[0].begin() + 6, sent[0].end() - 1);
        return b;
    }
    Bytes press(const char* object) { return wire(ControlKind::kButton, object); }
};

TEST_F(Catalogue, ConstantButtons) {
    const std::vector<std::pair<const char*, Bytes>> expected = {
        {"pushButton_24", {113, 0, 0, 0, 0}},  {"pushButton_105", {122, 0, 0, 0, 0}},
        {"pushButton_104", {123, 0, 0, 0, 0}}, {"pushButton_107", {115, 0, 0, 0, 0}},
        {"pushButton_106", {116, 0, 0, 0, 0}}, {"pushButton_108", {117, 0, 0, 0, 0}},
        {"pushButton_109", {121, 0, 0, 0, 0}}, {"pushButton_131", {49, 0, 0, 0, 0}},
        {"pushButton_132", {51, 0, 0, 0, 0}},  {"pushButton_133", {50, 0, 0, 0, 0}},
        {"pushButton_134", {36, 0, 0, 0, 0}},  {"pushButton_140", {69, 5, 0, 0, 0}},
        {"pushButton_139", {65, 6, 0, 0, 0}},  {"pushButton_136", {65, 1, 1, 0, 0}},
        {"pushButton_135", {65, 1, 2, 0, 0}},  {"pushButton_138", {65, 2, 1, 0, 0}},
        {"pushButton_137", {65, 2, 2, 0, 0}},  {"pushButton_141", {65, 5, 1, 0, 0}},
        {"pushButton_143", {65, 5, 2, 0, 0}},  {"pushButton_142", {65, 5, 3, 0, 0}},
        {"pushButton_122", {80, 15, 0, 0, 0}}, {"pushButton_125", {80, 16, 0, 0, 0}},
        {"pushButton_144", {80, 1, 0, 0, 0}},  {"pushButton_147", {80, 2, 0, 0, 0}},
        {"pushButton_145", {90, 0, 0, 0, 0}},  {"pushButton_146", {90, 1, 0, 0, 0}},
        {"pushButton_123", {89, 0, 0, 0, 0}},  {"pushButton_124", {89, 1, 0, 0, 0}},
        {"pushButton_149", {80, 3, 0, 0, 0}},  {"pushButton_127", {84, 0, 0, 0, 0}},
        {"pushButton_151", {86, 0, 0, 0, 0}},  {"pushButton_126", {88, 2, 0, 0, 0}},
        {"pushButton_148", {85, 0, 0, 0, 0}},  {"pushButton_128", {61, 0, 0, 0, 0}},
        {"pushButton_129", {63, 0, 0, 0, 0}},  {"pushButton_160", {147, 0, 0, 0, 0}},
        {"pushButton_116", {144, 0, 0, 0, 0}}, {"pushButton_117", {144, 1, 0, 0, 0}},
    };
    for (const auto& [object, bytes] : expected) {
        EXPECT_EQ(press(object), bytes) << object;
    }
}

TEST_F(Catalogue, ArrowsInFrameModeSendTheSliderAsRate) {
    controls.values["horizontalSlider"] = 300;
    EXPECT_EQ(press("pushButton_115"), (Bytes{112, 0, 0, 0x2C, 0x01}));
    EXPECT_EQ(press("pushButton_114"), (Bytes{112, 0, 0, 0xD4, 0xFE}));
    EXPECT_EQ(press("pushButton_113"), (Bytes{112, 0xD4, 0xFE, 0, 0}));
    EXPECT_EQ(press("pushButton_112"), (Bytes{112, 0x2C, 0x01, 0, 0}));
}

TEST_F(Catalogue, ArrowWithTheSliderAtZeroSendsRateZero) {
    EXPECT_EQ(press("pushButton_115"), (Bytes{112, 0, 0, 0, 0}));
}

TEST_F(Catalogue, ArrowsInPeriodicModeUseTheRateFields) {
    single = false;
    controls.values["horizontalSlider"] = 20;
    send(sender, command(ControlKind::kButton, "pushButton_113"));
    EXPECT_EQ(tick(), (Frames{{0, 0, 0, 0, 0, 0x70, 0xEC, 0xFF, 0, 0}}));
}

TEST_F(Catalogue, ArrowsInGyroMode) {
    servo = ServoMode::kGyro;
    controls.values["comboBox"] = 10;
    controls.values["horizontalSlider"] = 99;
    EXPECT_EQ(press("pushButton_115"), (Bytes{118, 3, 0, 10, 0}));
    EXPECT_EQ(press("pushButton_114"), (Bytes{118, 3, 0, 0xF6, 0}));
    EXPECT_EQ(press("pushButton_113"), (Bytes{118, 3, 0xF6, 0, 0}));
    EXPECT_EQ(press("pushButton_112"), (Bytes{118, 3, 10, 0, 0}));
    EXPECT_EQ(press("pushButton_24"), (Bytes{118, 1, 0, 0, 0}));
    EXPECT_EQ(press("pushButton_107"), (Bytes{115, 0, 0, 0, 0}));
}

TEST_F(Catalogue, GuidanceAnglesAreSinglePrecisionHundredths) {
    // In double 0.29 would give 28 and -37.6 would give -3760; in single precision they give 29 and -3759
    // (0xF151).
    controls.values["lineEdit"] = 0.29;
    controls.values["lineEdit_2"] = -37.6;
    EXPECT_EQ(press("pushButton_26"), (Bytes{114, 29, 0, 0x51, 0xF1}));
    EXPECT_EQ(press("pushButton_25"), (Bytes{124, 29, 0, 0x51, 0xF1}));
}

TEST_F(Catalogue, GuidanceBeyondSixteenBitsKeepsTheLowOnes) {
    controls.values["lineEdit"] = 655.375;                                    // 65537.5
    controls.values["lineEdit_2"] = std::numeric_limits<double>::infinity();  // 0x80000000
    EXPECT_EQ(press("pushButton_26"), (Bytes{114, 1, 0, 0, 0}));
}

TEST_F(Catalogue, VisibleLensTakesItsSpeed) {
    controls.values["comboBox_2"] = 4;
    EXPECT_EQ(press("pushButton_119"), (Bytes{69, 3, 4, 0, 0}));
    EXPECT_EQ(press("pushButton_120"), (Bytes{69, 4, 4, 0, 0}));
    EXPECT_EQ(press("pushButton_118"), (Bytes{69, 1, 4, 0, 0}));
    EXPECT_EQ(press("pushButton_121"), (Bytes{69, 2, 4, 0, 0}));
}

TEST_F(Catalogue, ContinuousRangingTakesItsSeconds) {
    controls.values["comboBox_6"] = 5;
    EXPECT_EQ(press("pushButton_130"), (Bytes{62, 5, 0, 0, 0}));
}

TEST_F(Catalogue, TimeSyncPayload) {
    // 2026 = 0x07EA; 678 ms are 67 hundredths.
    EXPECT_EQ(press("pushButton_22"), (Bytes{32, 0xEA, 0x07, 11, 21, 7, 9, 45, 67, 0}));
}

TEST_F(Catalogue, AddressKeepsLowBytes) {
    controls.values = {{"lineEdit_4", 192}, {"lineEdit_5", 168}, {"lineEdit_16", 257}, {"lineEdit_19", -1}};
    EXPECT_EQ(press("pushButton_110"), (Bytes{41, 192, 168, 1, 255}));
}

TEST_F(Catalogue, CustomTemplateHoldsBothEdits) {
    controls.values = {{"lineEdit_6", 300}, {"lineEdit_7", -1}};
    EXPECT_EQ(press("pushButton_153"), (Bytes{35, 0, 0, 255, 0}));
    const Command c = command(ControlKind::kButton, "pushButton_153");
    EXPECT_STREQ(c.rewrites[0].edit, "lineEdit_6");
    EXPECT_EQ(c.rewrites[0].value, 255);
    EXPECT_STREQ(c.rewrites[1].edit, "lineEdit_7");
    EXPECT_EQ(c.rewrites[1].value, 0);
}

TEST_F(Catalogue, TrackById) {
    controls.values["lineEdit_24"] = 259;
    EXPECT_EQ(press("pushButton_161"), (Bytes{147, 1, 3, 0, 0}));
}

TEST_F(Catalogue, DetectionModeIsTheIndexOfTheCheckedOnes) {
    controls.values = {{"radioButton_16", 1}, {"radioButton_19", 1}};
    EXPECT_EQ(press("pushButton_154"), (Bytes{154, 1, 2, 0, 0}));
    controls.values = {{"radioButton_15", 1}, {"radioButton_17", 1}};
    EXPECT_EQ(press("pushButton_154"), (Bytes{154, 0, 0, 0, 0}));
    controls.values.clear();
    EXPECT_EQ(press("pushButton_154"), (Bytes{154, 255, 255, 0, 0}));
}

TEST_F(Catalogue, PairsOfSixteenBitNumbers) {
    controls.values = {{"lineEdit_9", 300}, {"lineEdit_8", -2},  {"lineEdit_12", 1},   {"lineEdit_13", 100},
                       {"lineEdit_22", 45}, {"lineEdit_23", 10}, {"lineEdit_11", -15}, {"lineEdit_10", 50}};
    EXPECT_EQ(press("pushButton_150"), (Bytes{155, 0x2C, 0x01, 0xFE, 0xFF}));
    EXPECT_EQ(press("pushButton_155"), (Bytes{119, 1, 0, 100, 0}));
    EXPECT_EQ(press("pushButton_162"), (Bytes{119, 45, 0, 10, 0}));
    EXPECT_EQ(press("pushButton_152"), (Bytes{120, 0xF1, 0xFF, 50, 0}));
}

TEST_F(Catalogue, ScanRunAxisWords) {
    controls.values = {{"lineEdit_14", 5}, {"comboBox_14", 0}, {"lineEdit_15", 5}, {"comboBox_15", 1}};
    EXPECT_EQ(press("pushButton_156"), (Bytes{121, 50, 0, 50, 0x80}));
}

TEST_F(Catalogue, ScanRunNegativeSpeed) {
    // -50 is 0xFFFFFFCE: bit 14 is set, 15 bits remain.
    controls.values = {{"lineEdit_14", -5}, {"lineEdit_15", -5}, {"comboBox_15", 1}};
    EXPECT_EQ(press("pushButton_156"), (Bytes{121, 0xCE, 0x7F, 0xCE, 0xFF}));
}

TEST_F(Catalogue, ScanRunNegativeSpeedThatHasBit14Clear) {
    // -20000 is 0xFFFFB1E0: of a negative speed bit 14 is set all the same. A positive one keeps its own.
    controls.values = {{"lineEdit_14", -2000}, {"lineEdit_15", 2000}, {"comboBox_15", 1}};
    EXPECT_EQ(press("pushButton_156"), (Bytes{121, 0xE0, 0x71, 0x20, 0xCE}));
}

TEST_F(Catalogue, ScanRunExtremeSpeedDoesNotOverflow) {
    controls.values = {{"lineEdit_14", 2147483647.0}, {"comboBox_14", -1}};
    // 2147483647 * 10 is 0xFFFFFFF6 in 32 bits; no chosen mode counts as an odd index.
    EXPECT_EQ(press("pushButton_156"), (Bytes{121, 0xF6, 0xFF, 0, 0}));
}

TEST_F(Catalogue, GeoPayloads) {
    controls.values = {{"lineEdit_18", 118.5}, {"lineEdit_20", -32.25}, {"lineEdit_17", 123.25}};
    // 1185000000 = 0x46A1AA40, -322500000 = 0xECC70A60, 1232 = 0x04D0
    const Bytes position = {0x40, 0xAA, 0xA1, 0x46, 0x60, 0x0A, 0xC7, 0xEC, 0xD0, 0x04, 0, 0};
    Bytes expected = {27};
    expected.insert(expected.end(), position.begin(), position.end());
    EXPECT_EQ(press("pushButton_158"), expected);
    expected[0] = 28;
    EXPECT_EQ(press("pushButton_159"), expected);
}

TEST_F(Catalogue, GeoPayloadIsSinglePrecisionBeforeTheScale) {
    controls.values = {{"lineEdit_18", 116.3912345}};
    const Bytes b = press("pushButton_158");
    // 116.3912345 as a 32-bit float is 116.391235351562..., so 1163912353 = 0x455FE4A1.
    EXPECT_EQ(Bytes(b.begin() + 1, b.begin() + 5), (Bytes{0xA1, 0xE4, 0x5F, 0x45}));
}

TEST_F(Catalogue, GeoPayloadOutOfRange) {
    controls.values = {{"lineEdit_18", 215.0}, {"lineEdit_20", std::numeric_limits<double>::quiet_NaN()}};
    const Bytes b = press("pushButton_158");
    EXPECT_EQ(b, (Bytes{27, 0, 0, 0, 0x80, 0, 0, 0, 0x80, 0, 0, 0, 0}));
}

TEST_F(Catalogue, FocalLengthIlluminatorAndAlarm) {
    controls.values = {{"lineEdit_21", 50}, {"lineEdit_211", 12.5}, {"lineEdit_212", 60.04}};
    EXPECT_EQ(press("pushButton_157"), (Bytes{76, 0xF4, 0x01, 0, 0}));
    EXPECT_EQ(press("pushButton_1571"), (Bytes{53, 2, 0xE2, 0x04, 0}));
    EXPECT_EQ(press("pushButton_1572"), (Bytes{92, 0, 0x58, 0x02, 0}));
    controls.values["widget_82"] = 1;
    EXPECT_EQ(press("pushButton_1572"), (Bytes{92, 0x80, 0x58, 0x02, 0}));
}

TEST_F(Catalogue, DisplayItemsAllOff) {
    // Bits 0, 1, 2, 4, 5, 6, 7, 9, 10, 12, 13, 14, 19, 21 and 22: 0x6876F7.
    const ControlKind k = ControlKind::kSettingsButton;
    EXPECT_EQ(wire(k, "pushButton_13"), (Bytes{55, 3, 0xF7, 0x76, 0x68}));
    EXPECT_EQ(wire(k, "pushButton_15"), (Bytes{55, 3, 0xF7, 0x77, 0x68}));
}

TEST_F(Catalogue, DisplayItemsAllOn) {
    for (int i = 1; i < 30; ++i) {
        controls.values["widget_" + std::to_string(i)] = 1;
    }
    controls.values["widget"] = 1;
    controls.values["radioButton_2"] = 1;
    controls.values["radioButton_3"] = 1;
    // Bits 3, 11, 15, 16, 17 and 18: 0x078808.
    EXPECT_EQ(wire(ControlKind::kSettingsButton, "pushButton_13"), (Bytes{55, 3, 0x08, 0x88, 0x07}));
}

TEST_F(Catalogue, DisplayStyle) {
    controls.values = {{"comboBox_12", 2}, {"comboBox_13", 1}};
    EXPECT_EQ(wire(ControlKind::kSettingsButton, "pushButton_14"), (Bytes{55, 4, 0x0A, 0, 0}));
}

TEST_F(Catalogue, DisplayStyleWithoutItsControls) {
    const auto bytes = [](int colour, int language) {
        const Command c = osdStyleCommand(colour, language);
        EXPECT_EQ(c.kind, Command::Kind::kFour);
        return Bytes{c.code, c.bytes[0], c.bytes[1], c.bytes[2], c.bytes[3]};
    };
    EXPECT_EQ(bytes(0, 0), (Bytes{55, 4, 0x00, 0, 0}));
    EXPECT_EQ(bytes(1, 0), (Bytes{55, 4, 0x01, 0, 0}));
    EXPECT_EQ(bytes(2, 1), (Bytes{55, 4, 0x0A, 0, 0}));
    EXPECT_EQ(bytes(-1, -1), (Bytes{55, 4, 0x00, 0, 0}));
}

TEST_F(Catalogue, OnlyTwoButtonsStartTheStopTimer) {
    std::set<std::string> names;
    for (const CatalogueRow& row : commandCatalogue()) {
        if (row.kind == ControlKind::kButton && row.starts_stop_timer) {
            names.insert(row.object);
        }
    }
    EXPECT_EQ(names, (std::set<std::string>{"pushButton_157", "pushButton_1571"}));
}

TEST_F(Catalogue, CombosSendIndexOrItemData) {
    const ControlKind k = ControlKind::kCombo;
    controls.data["comboBox_3"] = 3;
    controls.values["comboBox_5"] = 6;
    EXPECT_EQ(wire(k, "comboBox_4", 11), (Bytes{83, 1, 11, 0, 0}));
    EXPECT_EQ(wire(k, "comboBox_5", 2), (Bytes{87, 1, 6, 0, 0})) << "the box's own index";
    EXPECT_EQ(wire(k, "comboBox_3", 0), (Bytes{35, 3, 0, 0, 0})) << "the item data";
    EXPECT_EQ(wire(k, "comboBox_7", 3), (Bytes{74, 3, 0, 0, 0}));
    EXPECT_EQ(wire(k, "comboBox_8", 6), (Bytes{33, 6, 0, 0, 0}));
    EXPECT_EQ(wire(k, "comboBox_9", 5), (Bytes{34, 5, 0, 0, 0}));
    EXPECT_EQ(wire(k, "comboBox_10", 4), (Bytes{37, 4, 0, 0, 0}));
    EXPECT_EQ(wire(k, "comboBox_11", 1), (Bytes{55, 1, 0, 0, 0}));
    EXPECT_EQ(wire(k, "comboBox_13", 1), (Bytes{132, 1, 0, 0, 0}));
}

TEST_F(Catalogue, SwitchesSendTheirState) {
    const ControlKind k = ControlKind::kSwitch;
    EXPECT_EQ(wire(k, "widget_3", 1), (Bytes{145, 1, 0, 0, 0}));
    EXPECT_EQ(wire(k, "widget_3", 0), (Bytes{145, 0, 0, 0, 0}));
    EXPECT_EQ(wire(k, "widget_81", 1), (Bytes{53, 1, 0, 0, 0}));
    EXPECT_EQ(wire(k, "widget", 1), (Bytes{75, 1, 0, 0, 0}));
    EXPECT_EQ(wire(k, "widget_2", 1), (Bytes{65, 4, 1, 0, 0}));
    EXPECT_EQ(wire(k, "widget_2", 0), (Bytes{65, 4, 2, 0, 0}));
    EXPECT_EQ(wire(k, "widget_4", 1), (Bytes{149, 1, 0, 0, 0}));
    EXPECT_EQ(wire(k, "widget_8", 1), (Bytes{40, 1, 1, 0, 0}));
    EXPECT_EQ(wire(k, "widget_8", 0), (Bytes{40, 1, 0, 0, 0}));
}

TEST_F(Catalogue, ControlsThatSendNothing) {
    EXPECT_TRUE(wire(ControlKind::kSwitch, "widget_7", 1).empty());
    EXPECT_TRUE(wire(ControlKind::kSwitch, "widget_82", 1).empty());
    EXPECT_TRUE(wire(ControlKind::kCombo, "comboBox_14", 1).empty());
    EXPECT_TRUE(wire(ControlKind::kCombo, "comboBox_15", 1).empty());
}

TEST_F(Catalogue, UnknownNamesAreNotFound) {
    EXPECT_EQ(findControl(ControlKind::kButton, "pushButton_9999", servo), nullptr);
    EXPECT_EQ(findControl(ControlKind::kButton, "", servo), nullptr);
    EXPECT_EQ(findControl(ControlKind::kButton, "comboBox_4", servo), nullptr) << "another kind of control";
}

TEST_F(Catalogue, NoRowIsHiddenByAnEarlierOne) {
    for (const ServoMode mode : {ServoMode::kFrame, ServoMode::kGyro}) {
        for (const CatalogueRow& row : commandCatalogue()) {
            if (row.servo != ServoMode::kAny && row.servo != mode) {
                continue;
            }
            EXPECT_EQ(findControl(row.kind, row.object, mode), &row) << row.object;
        }
    }
}

TEST_F(Catalogue, WheelZoomByWindowAndPicture) {
    const auto zoom = [this](int window, int cmd, int picture) {
        sent.clear();
        send(sender, zoomCommand(window, cmd, picture));
        return sent.empty() ? Bytes{} : Bytes{sent[0][4], sent[0][6], sent[0][7]};
    };
    EXPECT_EQ(zoom(1, 1, 1), (Bytes{69, 1, 7}));
    EXPECT_EQ(zoom(1, 2, 6), (Bytes{69, 2, 7}));
    EXPECT_EQ(zoom(1, 1, 0), (Bytes{80, 15, 0}));
    EXPECT_EQ(zoom(1, 2, 0), (Bytes{80, 16, 0}));
    EXPECT_EQ(zoom(1, 2, 3), (Bytes{80, 16, 0}));
    EXPECT_EQ(zoom(2, 1, 1), (Bytes{80, 1, 7}));
    EXPECT_EQ(zoom(2, 2, 0), (Bytes{80, 2, 7}));
    for (const int window : {0, 3, -1}) {
        EXPECT_TRUE(zoom(window, 1, 1).empty());
    }
}

TEST_F(Catalogue, ZoomBySource) {
    const auto zoom = [](bool in, int picture) {
        const Command c = zoomBySourceCommand(in, picture);
        return std::pair<int, int>(c.code, c.bytes[0]);
    };
    EXPECT_EQ(zoom(true, 1), std::make_pair(69, 1));
    EXPECT_EQ(zoom(false, 5), std::make_pair(69, 2));
    EXPECT_EQ(zoom(true, 0), std::make_pair(80, 15));
    EXPECT_EQ(zoom(false, 3), std::make_pair(80, 16));
}

TEST(CommandNames, KnownAndUnknown) {
    EXPECT_STREQ(commandName(0x45), "CMD_VL_LENS");
    EXPECT_STREQ(commandName(1026), "CMD_NAV_BLOCK");
    EXPECT_STREQ(commandName(27), "CMD_GEO_GUIDE");
    EXPECT_EQ(commandName(1), nullptr);
}

}  // namespace
}  // namespace sorvane
