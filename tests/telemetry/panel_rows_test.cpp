#include "telemetry/panel_rows.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/telemetry/panels_by_hand.h"

namespace sorvane {
namespace {

// What the label named so would show; "(keep)" where it would keep its text.
std::string shown(const char* object_name, const TelemetryRecord& record, const NavBlock& nav = {}) {
    for (const PanelRow& row : panelRows()) {
        if (std::strcmp(row.object_name, object_name) != 0) {
            continue;
        }
        const PanelText text = row.format({record, nav});
        if (text.kind == PanelText::Kind::kKeep) {
            return "(keep)";
        }
        return text.kind == PanelText::Kind::kWord ? text.word : text.number;
    }
    return "(no row)";
}

template <std::size_t N>
void expectPage(PanelPage page, const ExpectedRow (&expected)[N]) {
    std::vector<const PanelRow*> rows;
    for (const PanelRow& row : panelRows()) {
        if (row.page == page) {
            rows.push_back(&row);
        }
    }
    ASSERT_EQ(rows.size(), N);
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_STREQ(rows[i]->object_name, expected[i].object_name);
        if (expected[i].caption != nullptr) {
            EXPECT_STREQ(rows[i]->caption, expected[i].caption);
        }
        EXPECT_EQ(shown(expected[i].object_name, recordByHand(), navByHand()), expected[i].text)
            << expected[i].object_name;
    }
}

TEST(PanelRows, AircraftPageInOrder) { expectPage(PanelPage::kAircraft, kAircraftPage); }
TEST(PanelRows, PodPageInOrder) { expectPage(PanelPage::kPod, kPodPage); }
TEST(PanelRows, HealthPageInOrder) { expectPage(PanelPage::kHealth, kHealthPage); }

TEST(PanelRows, NamesAreUniqueAndPagesFollowEachOther) {
    std::set<std::string> names;
    PanelPage last = PanelPage::kAircraft;
    for (const PanelRow& row : panelRows()) {
        EXPECT_TRUE(names.insert(row.object_name).second) << row.object_name;
        EXPECT_GE(row.page, last);
        last = row.page;
    }
    EXPECT_EQ(names.size(), 17U + 27U + 28U);
}

TEST(PanelRows, OnlyTheCardsCaptionHasAnOwnName) {
    for (const PanelRow& row : panelRows()) {
        if (std::strcmp(row.object_name, "label_tf_val") == 0) {
            EXPECT_STREQ(row.caption_object, "label_140");
            EXPECT_STREQ(row.caption, "TF:");
        } else {
            EXPECT_EQ(row.caption_object, nullptr) << row.object_name;
        }
    }
}

TEST(PanelRows, LoadVersionShowsItsNibbles) {
    EXPECT_STREQ(versionText(0x23).number, "2.3");
    EXPECT_STREQ(versionText(0xA1).number, "10.1");
    EXPECT_STREQ(versionText(0xFF).number, "15.15");
    EXPECT_STREQ(versionText(0x00).number, "0.0");
}

TEST(PanelRows, ATargetAltitudeOfMinusFiveReadsMinusFiveMetres) {
    TelemetryRecord record;
    record.target_altitude = -5;
    EXPECT_EQ(shown("label_target_locate_alt_val", record), "-5m");
}

TEST(PanelRows, AMaxTemperatureOfMinusFifteenShowsMinusOnePointFive) {
    TelemetryRecord record;
    record.max_temperature = -15;
    EXPECT_EQ(shown("label_max_temp_val", record), "-1.5℃");
}

TEST(PanelRows, ValuesWithoutATextKeepTheLabel) {
    TelemetryRecord record;
    record.status_word_b = 0x0C00;
    record.servo_state = 16;
    record.track_state = 6;
    EXPECT_EQ(shown("m_fldRecvFdbk_4", record), "(keep)");
    EXPECT_EQ(shown("label_servo_state_val", record), "(keep)");
    EXPECT_EQ(shown("label_track_state_val", record), "(keep)");
}

TEST(PanelRows, FoldedAndGuardedValues) {
    TelemetryRecord record;
    record.servo_state = 15;
    record.track_state = 5;
    record.display_mode = 7;
    record.load_type = 6;
    EXPECT_EQ(shown("label_servo_state_val", record), "姿态指引");
    EXPECT_EQ(shown("label_track_state_val", record), "截获状态");
    EXPECT_EQ(shown("m_fldRecvFdbk_17", record), "-----");
    EXPECT_EQ(shown("m_fldLoadType", record), "非法值");
    EXPECT_EQ(shown("label_ztzswcfk_val", record), "-----");
}

// Each bit of the status words, set alone, changes exactly the rows that show it.
std::set<std::string> rowsChangedBy(const TelemetryRecord& record) {
    std::set<std::string> changed;
    for (const PanelRow& row : panelRows()) {
        if (shown(row.object_name, record) != shown(row.object_name, TelemetryRecord{})) {
            changed.insert(row.object_name);
        }
    }
    return changed;
}

TEST(PanelRows, EachBitShowsInItsRowsAlone) {
    using Names = std::set<std::string>;
    const Names module_rows[8] = {{"m_fldIRStat"},        {"m_fldVLStat"},    {"m_fldGyroStat"},
                                  {"m_fldAngSensorStat"}, {"m_fldMotorStat"}, {"m_fldCompressStat"},
                                  {"m_fldMainCtrlStat"},  {"m_fldEOTStat"}};
    const Names a_rows[16] = {{"m_fldRecvFdbk_11"},
                              {"m_fldRecvFdbk_12"},
                              {"m_fldRecvFdbk_13"},
                              {"m_fldRecvFdbk_14"},
                              {"m_fldRecvFdbk_15"},
                              {"m_fldRecvFdbk_16"},
                              {"m_fldRecvFdbk_10", "label_tf_val"},
                              {"label_temp_warning_val"},
                              {"label_hdzs_val"},
                              {"label_ckcw_val"},
                              {"m_fldIRDde"},
                              {"m_fldIRDde"},
                              {"m_fldIRDde"},
                              {"m_fldIRDde"},
                              {},
                              {}};
    Names b_rows[16];
    b_rows[1] = {"m_fldTrackSource"};
    for (int bit = 2; bit <= 8; ++bit) {
        b_rows[bit] = {"m_fldRecvFdbk_3"};
    }
    b_rows[9] = {"label_save_config_val"};
    b_rows[10] = b_rows[11] = {"m_fldRecvFdbk_4"};
    for (int bit = 12; bit <= 15; ++bit) {
        b_rows[bit] = {"m_fldIRPseudoColor"};
    }
    for (int bit = 0; bit < 16; ++bit) {
        TelemetryRecord a;
        a.status_word_a = static_cast<std::uint16_t>(1U << bit);
        EXPECT_EQ(rowsChangedBy(a), a_rows[bit]) << "word a, bit " << bit;
        TelemetryRecord b;
        b.status_word_b = static_cast<std::uint16_t>(1U << bit);
        EXPECT_EQ(rowsChangedBy(b), b_rows[bit]) << "word b, bit " << bit;
        if (bit < 8) {
            TelemetryRecord module;
            module.module_status = static_cast<std::uint8_t>(1U << bit);
            EXPECT_EQ(rowsChangedBy(module), module_rows[bit]) << "module, bit " << bit;
        }
    }
}

TEST(FixedPointText, AgreesWithPrintfOverTheRangeOfAField) {
    char expected[32];
    for (int value = -32768; value <= 65535; ++value) {
        std::snprintf(expected, sizeof expected, "%.2f deg", value / 100.0);
        EXPECT_STREQ(fixedPointText(value, 2, " deg").number, expected);
        std::snprintf(expected, sizeof expected, "%.1f", value / 10.0);
        EXPECT_STREQ(fixedPointText(value, 1).number, expected);
    }
}

TEST(FixedPointText, TheEndsOfThe32BitRangeFit) {
    EXPECT_STREQ(fixedPointText(std::numeric_limits<std::int32_t>::min(), 7).number, "-214.7483648");
    EXPECT_STREQ(fixedPointText(std::numeric_limits<std::int32_t>::max(), 7).number, "214.7483647");
    EXPECT_STREQ(fixedPointText(std::numeric_limits<std::int32_t>::min(), 0, "m").number, "-2147483648m");
    EXPECT_STREQ(fixedPointText(-1, 7).number, "-0.0000001");
}

TEST(FixedPointText, TakesNoNoticeOfTheLocale) {
    // Where the system has no such locale the call changes nothing and the assertion holds all the same.
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_STREQ(fixedPointText(1234567, 3).number, "1234.567");
    std::setlocale(LC_NUMERIC, "C");
}

}  // namespace
}  // namespace sorvane
