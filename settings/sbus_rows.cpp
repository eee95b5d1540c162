#include "settings/sbus_rows.h"

#include "telemetry/translation_mark.h"

namespace sorvane {

namespace {

constexpr const char* kLeft = QT_TRANSLATE_NOOP("RemotePage", "方位向左");
constexpr const char* kRight = QT_TRANSLATE_NOOP("RemotePage", "方位向右");
constexpr const char* kDown = QT_TRANSLATE_NOOP("RemotePage", "俯仰向下");
constexpr const char* kUp = QT_TRANSLATE_NOOP("RemotePage", "俯仰向上");
constexpr const char* kRange = QT_TRANSLATE_NOOP("RemotePage", "激光测距");
constexpr const char* kPalette = QT_TRANSLATE_NOOP("RemotePage", "红外调色板");
constexpr const char* kCycle = QT_TRANSLATE_NOOP("RemotePage", "循环切换");
constexpr const char* kRecord = QT_TRANSLATE_NOOP("RemotePage", "录像");
constexpr const char* kSnapshot = QT_TRANSLATE_NOOP("RemotePage", "拍照");
constexpr const char* kTrack = QT_TRANSLATE_NOOP("RemotePage", "跟踪");
constexpr const char* kZoomOut = QT_TRANSLATE_NOOP("RemotePage", "变倍-");
constexpr const char* kZoomIn = QT_TRANSLATE_NOOP("RemotePage", "变倍+");

}  // namespace

const std::array<SbusRow, kSbusRows> kSbusRowTable = {{
    {"comboBox", "checkBox_7", "widget_9", kLeft, kRight, 0},
    {"comboBox_2", "checkBox_8", "widget_12", kDown, kUp, 2},
    {"comboBox_3", "checkBox_5", "widget_15", kLeft, kRight, 1},
    {"comboBox_4", "checkBox_6", "widget_21", kDown, kUp, 3},
    {"comboBox_5", "checkBox_9", "widget_22", kRange, kPalette, 5},
    {"comboBox_6", nullptr, "widget_23", kCycle, kCycle, 4},
    {"comboBox_7", "checkBox_10", "widget_24", kRecord, kSnapshot, 6},
    {"comboBox_8", nullptr, "widget_25", kTrack, kTrack, 9},
    {"comboBox_9", "checkBox_11", "widget_26", kZoomOut, kZoomIn, 7},
    {"comboBox_10", nullptr, "widget_27", kCycle, kCycle, 8},
}};

}  // namespace sorvane
