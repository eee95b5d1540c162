#include "link/command_catalogue.h"

#include <algorithm>
#include <iterator>

#include "base/bytes.h"
#include "base/numbers.h"
#include "link/control_names.h"
#include "link/frame_sender.h"
#include "link/osd_words.h"

namespace sorvane {

namespace {

Command four(int code, int p1 = 0, int p2 = 0, int p3 = 0, int p4 = 0) {
    Command c;
    c.kind = Command::Kind::kFour;
    c.code = lowByte(code);
    c.bytes = {lowByte(p1), lowByte(p2), lowByte(p3), lowByte(p4)};
    c.size = 4;
    return c;
}

// Two 16-bit values, low byte first; what does not fit keeps its low bits.
Command words(int code, int a, int b) { return four(code, lowByte(a), highByte(a), lowByte(b), highByte(b)); }

Command rate(int x, int y) {
    Command c;
    c.kind = Command::Kind::kRate;
    c.code = CMD_SERVO_RATE;
    c.x = static_cast<std::int16_t>(x);
    c.y = static_cast<std::int16_t>(y);
    return c;
}

int rateSpeed(const ControlReader& r) { return r.sliderValue(control::kRate); }
Command rateUp(const ControlReader& r, int) { return rate(0, rateSpeed(r)); }
Command rateDown(const ControlReader& r, int) { return rate(0, -rateSpeed(r)); }
Command rateLeft(const ControlReader& r, int) { return rate(-rateSpeed(r), 0); }
Command rateRight(const ControlReader& r, int) { return rate(rateSpeed(r), 0); }

int gyroSpeed(const ControlReader& r) { return r.number(control::kGyroSpeed); }
Command gyroUp(const ControlReader& r, int) { return four(CMD_GYRO_RATE, 3, 0, gyroSpeed(r)); }
Command gyroDown(const ControlReader& r, int) { return four(CMD_GYRO_RATE, 3, 0, -gyroSpeed(r)); }
Command gyroLeft(const ControlReader& r, int) { return four(CMD_GYRO_RATE, 3, -gyroSpeed(r)); }
Command gyroRight(const ControlReader& r, int) { return four(CMD_GYRO_RATE, 3, gyroSpeed(r)); }

// A single-precision product: the pod's angles were always computed so, and the last digit depends on it.
int scaled(const ControlReader& r, const char* edit, float factor) {
    return truncateToI32(r.decimal(edit) * factor);
}

Command guide(const ControlReader& r, int code) {
    return words(code, scaled(r, control::kGuideAzimuth, 100.0F), scaled(r, control::kGuidePitch, 100.0F));
}
Command digitalGuide(const ControlReader& r, int) { return guide(r, CMD_DIGITAL_GUIDE); }
Command attitudeGuide(const ControlReader& r, int) { return guide(r, CMD_ATTITUDE_GUIDE); }

Command visibleLens(const ControlReader& r, int action) {
    return four(CMD_VL_LENS, action, r.number(control::kVisibleSpeed));
}
Command focusNear(const ControlReader& r, int) { return visibleLens(r, 3); }
Command focusFar(const ControlReader& r, int) { return visibleLens(r, 4); }
Command zoomIn(const ControlReader& r, int) { return visibleLens(r, 1); }
Command zoomOut(const ControlReader& r, int) { return visibleLens(r, 2); }

Command rangeContinuous(const ControlReader& r, int) {
    return four(CMD_RANGE_CONTINUOUS, r.number(control::kRangePeriod));
}

Command timeSync(const ControlReader& r, int) {
    const CalendarTime t = r.localTime();
    Command c;
    c.kind = Command::Kind::kPayload;
    c.code = CMD_TIME_SYNC;
    c.size = 9;
    c.bytes = {lowByte(t.year),
               highByte(t.year),
               lowByte(t.month),
               lowByte(t.day),
               lowByte(t.hour),
               lowByte(t.minute),
               lowByte(t.second),
               lowByte(t.millisecond / 10),
               highByte(t.millisecond / 10)};
    return c;
}

Command setAddress(const ControlReader& r, int) {
    return four(CMD_SET_IP, r.number(control::kAddress1), r.number(control::kAddress2),
                r.number(control::kAddress3), r.number(control::kAddress4));
}

Command customTemplate(const ControlReader& r, int) {
    const int width = std::clamp(r.number(control::kTemplateWidth), 0, 255);
    const int height = std::clamp(r.number(control::kTemplateHeight), 0, 255);
    Command c = four(CMD_TRACK_TEMPLATE, 0, 0, width, height);
    c.rewrites = {Command::Rewrite{control::kTemplateWidth, width},
                  Command::Rewrite{control::kTemplateHeight, height}};
    return c;
}

Command trackById(const ControlReader& r, int) {
    return four(CMD_TRACK_BY_ID, 1, r.number(control::kTrackId));
}

// Index of the checked one, 255 when none is.
template <std::size_t N>
int checkedIndex(const ControlReader& r, const char* const (&buttons)[N]) {
    for (std::size_t i = 0; i < N; ++i) {
        if (r.checked(buttons[i])) {
            return static_cast<int>(i);
        }
    }
    return 255;
}

Command detectionMode(const ControlReader& r, int) {
    return four(CMD_AI_MODE, checkedIndex(r, control::kDetectionSources),
                checkedIndex(r, control::kDetectionMethods));
}

Command twoNumbers(const ControlReader& r, int code, const char* a, const char* b) {
    return words(code, r.number(a), r.number(b));
}
Command regionOfInterest(const ControlReader& r, int) {
    return twoNumbers(r, CMD_AI_ROI, control::kRegionX, control::kRegionY);
}
Command scanAzimuth(const ControlReader& r, int) {
    return twoNumbers(r, CMD_SCAN_AZ, control::kAzimuthCentre, control::kAzimuthRange);
}
// The same code as the azimuth set-up: meant.
Command scanTwoAxes(const ControlReader& r, int) {
    return twoNumbers(r, CMD_SCAN_AZ, control::kTwoAxisAngle, control::kTwoAxisSpeed);
}
Command scanPitch(const ControlReader& r, int) {
    return twoNumbers(r, CMD_SCAN_EL, control::kPitchCentre, control::kPitchRange);
}

// 15 bits of the tenfold speed, and the mode (0 scan, 1 lock) on top.
int axisWord(const ControlReader& r, const char* speed_edit, const char* mode_combo) {
    std::uint32_t v = static_cast<std::uint32_t>(r.number(speed_edit)) * 10U;
    if ((v & 0x80000000U) != 0) {
        v |= 1U << 14;
    }
    const std::uint32_t mode = (static_cast<std::uint32_t>(r.index(mode_combo)) << 15) & 0x8000U;
    return static_cast<int>((v & 0x7FFFU) | mode);
}

Command scanRun(const ControlReader& r, int) {
    return words(CMD_SCAN_RUN, axisWord(r, control::kAzimuthSpeed, control::kAzimuthMode),
                 axisWord(r, control::kPitchSpeed, control::kPitchMode));
}

Command geo(const ControlReader& r, std::uint8_t code) {
    Command c;
    c.kind = Command::Kind::kPayload;
    c.code = code;
    c.size = 12;
    // Single precision from the text, then scaled in double: the last digits are lost, which is meant.
    storeI32(&c.bytes[0], truncateToI32(static_cast<double>(r.decimal(control::kLongitude)) * 1e7));
    storeI32(&c.bytes[4], truncateToI32(static_cast<double>(r.decimal(control::kLatitude)) * 1e7));
    storeI32(&c.bytes[8], truncateToI32(static_cast<double>(r.decimal(control::kAltitude)) * 10.0));
    return c;
}
Command geoGuide(const ControlReader& r, int) { return geo(r, CMD_GEO_GUIDE); }
Command geoTrack(const ControlReader& r, int) { return geo(r, CMD_GEO_TRACK); }

Command focalLength(const ControlReader& r, int) {
    return words(CMD_VL_FOCAL_LENGTH, scaled(r, control::kFocalLength, 10.0F), 0);
}
Command illuminatorRate(const ControlReader& r, int) {
    const int f = scaled(r, control::kIlluminatorRate, 100.0F);
    return four(CMD_LASER_ILLUMINATOR, 2, lowByte(f), highByte(f));
}
Command temperatureAlarm(const ControlReader& r, int) {
    const int f = scaled(r, control::kAlarmThreshold, 10.0F);
    return four(CMD_IR_TEMP_ALARM, r.checked(control::kAlarmOn) ? 0x80 : 0, lowByte(f), highByte(f));
}

// Sub-command 3: what is shown; 4: its style. Three bytes of the word follow.
Command osd(int sub_command, std::uint32_t word) {
    const auto w = static_cast<int>(word);
    return four(CMD_OSD, sub_command, lowByte(w), highByte(w), lowByte(w >> 16));
}
Command osdItems(const ControlReader& r, bool save) {
    return osd(3, osdWord([&r](const char* widget) { return r.checked(widget); }, save));
}
Command osdApply(const ControlReader& r, int) { return osdItems(r, false); }
Command osdSave(const ControlReader& r, int) { return osdItems(r, true); }
Command osdStyle(const ControlReader& r, int) {
    return osdStyleCommand(r.index(control::kOsdColour), r.index(control::kOsdLanguage));
}

Command palette(const ControlReader&, int index) { return four(CMD_IR_PALETTE, 1, index); }
// The box itself, not the index handed over: what is shown is what is sent.
Command enhancement(const ControlReader& r, int) {
    return four(CMD_IR_DDE, 1, r.index(control::kEnhancement));
}
Command templateSize(const ControlReader& r, int) {
    return four(CMD_TRACK_TEMPLATE, r.itemData(control::kTemplateSize));
}
template <std::uint8_t kCode>
Command byValue(const ControlReader&, int value) {
    return four(kCode, value);
}
Command stabilise(const ControlReader&, int on) { return four(CMD_VL_IMAGE, 4, on != 0 ? 1 : 2); }
Command demist(const ControlReader&, int on) { return four(CMD_WINDOW_DEFOG, 1, on); }

constexpr CatalogueRow button(const char* object, std::uint8_t code, std::uint8_t p1, std::uint8_t p2,
                              ServoMode servo, const char* caption) {
    return {object, ControlKind::kButton, servo, code, p1, p2, nullptr, false, caption};
}
constexpr CatalogueRow button(const char* object, std::uint8_t code, std::uint8_t p1, std::uint8_t p2,
                              const char* caption) {
    return button(object, code, p1, p2, ServoMode::kAny, caption);
}
constexpr CatalogueRow button(const char* object, std::uint8_t code, std::uint8_t p1, const char* caption) {
    return button(object, code, p1, 0, ServoMode::kAny, caption);
}
constexpr CatalogueRow button(const char* object, std::uint8_t code, const char* caption) {
    return button(object, code, 0, 0, ServoMode::kAny, caption);
}
constexpr CatalogueRow button(const char* object, BuildCommand build, ServoMode servo, const char* caption) {
    return {object, ControlKind::kButton, servo, 0, 0, 0, build, false, caption};
}
constexpr CatalogueRow button(const char* object, BuildCommand build, const char* caption) {
    return button(object, build, ServoMode::kAny, caption);
}
// The command ends by itself after 100 ms, or at the release if that comes first.
constexpr CatalogueRow shortButton(const char* object, BuildCommand build, const char* caption) {
    return {object, ControlKind::kButton, ServoMode::kAny, 0, 0, 0, build, true, caption};
}
constexpr CatalogueRow settingsButton(const char* object, BuildCommand build, const char* caption) {
    return {object, ControlKind::kSettingsButton, ServoMode::kAny, 0, 0, 0, build, false, caption};
}
constexpr CatalogueRow combo(const char* object, BuildCommand build, const char* caption) {
    return {object, ControlKind::kCombo, ServoMode::kAny, 0, 0, 0, build, true, caption};
}
constexpr CatalogueRow toggle(const char* object, BuildCommand build, const char* caption) {
    return {object, ControlKind::kSwitch, ServoMode::kAny, 0, 0, 0, build, true, caption};
}
constexpr CatalogueRow sendsNothing(const char* object, ControlKind kind, const char* caption) {
    return {object, kind, ServoMode::kAny, 0, 0, 0, nullptr, false, caption};
}

constexpr CatalogueRow kCatalogue[] = {
    // Servo, frame mode.
    button("pushButton_115", rateUp, ServoMode::kFrame, "上"),
    button("pushButton_114", rateDown, ServoMode::kFrame, "下"),
    button("pushButton_113", rateLeft, ServoMode::kFrame, "左"),
    button("pushButton_112", rateRight, ServoMode::kFrame, "右"),
    button("pushButton_24", CMD_SERVO_CENTRE, 0, 0, ServoMode::kFrame, "归中"),
    // Servo, gyro mode. Its release sends nothing in single mode: meant.
    button("pushButton_115", gyroUp, ServoMode::kGyro, "上"),
    button("pushButton_114", gyroDown, ServoMode::kGyro, "下"),
    button("pushButton_113", gyroLeft, ServoMode::kGyro, "左"),
    button("pushButton_112", gyroRight, ServoMode::kGyro, "右"),
    button("pushButton_24", CMD_GYRO_RATE, 1, 0, ServoMode::kGyro, "自动校准"),
    // Servo, either mode.
    button("pushButton_105", CMD_HEADING_LOCK, "航向锁定"),
    button("pushButton_104", CMD_HEADING_FOLLOW, "航向随动"),
    button("pushButton_107", CMD_LOOK_DOWN, "垂直下视"),
    button("pushButton_106", CMD_STOW, "镜头收藏"),
    button("pushButton_108", CMD_SERVO_OFF, "关伺服"),
    button("pushButton_109", CMD_SCAN_RUN, "扫描"),
    button("pushButton_26", digitalGuide, "数字引导"),
    button("pushButton_25", attitudeGuide, "姿态指引"),
    // Video.
    button("pushButton_131", CMD_VIDEO_SWITCH, "视频切换"),
    button("pushButton_132", CMD_RECORD, "开始录像"),
    button("pushButton_133", CMD_SNAPSHOT, "单次抓图"),
    button("pushButton_134", CMD_DUAL_SAME_FOV, "双光同视场"),
    // Visible light.
    button("pushButton_119", focusNear, "调焦+"),
    button("pushButton_120", focusFar, "调焦-"),
    button("pushButton_140", CMD_VL_LENS, 5, "自动对焦"),
    button("pushButton_118", zoomIn, "变倍+"),
    button("pushButton_121", zoomOut, "变倍-"),
    button("pushButton_139", CMD_VL_IMAGE, 6, "恢复默认"),
    button("pushButton_136", CMD_VL_IMAGE, 1, 1, "对比度+"),
    button("pushButton_135", CMD_VL_IMAGE, 1, 2, "对比度-"),
    button("pushButton_138", CMD_VL_IMAGE, 2, 1, "亮度+"),
    button("pushButton_137", CMD_VL_IMAGE, 2, 2, "亮度-"),
    button("pushButton_141", CMD_VL_IMAGE, 5, 1, "增益+"),
    button("pushButton_143", CMD_VL_IMAGE, 5, 2, "增益-"),
    button("pushButton_142", CMD_VL_IMAGE, 5, 3, "自动增益"),
    // Infrared.
    button("pushButton_122", CMD_IR_LENS, 15, "变倍+"),
    button("pushButton_125", CMD_IR_LENS, 16, "变倍-"),
    button("pushButton_144", CMD_IR_LENS, 1, "调焦+"),
    button("pushButton_147", CMD_IR_LENS, 2, "调焦-"),
    button("pushButton_145", CMD_IR_CONTRAST, 0, "对比度+"),
    button("pushButton_146", CMD_IR_CONTRAST, 1, "对比度-"),
    button("pushButton_123", CMD_IR_BRIGHTNESS, 0, "亮度+"),
    button("pushButton_124", CMD_IR_BRIGHTNESS, 1, "亮度-"),
    button("pushButton_149", CMD_IR_LENS, 3, "自动对焦"),
    button("pushButton_127", CMD_IR_EZOOM, "电子变倍"),
    button("pushButton_151", CMD_IR_SHUTTER_NUC, "快门补偿"),
    button("pushButton_126", CMD_IR_DEFAULTS, 2, "恢复默认"),
    button("pushButton_148", CMD_IR_BACKGROUND_NUC, "背景补偿"),
    // Laser.
    button("pushButton_128", CMD_RANGE_SINGLE, "单次测距"),
    button("pushButton_130", rangeContinuous, "连续测距"),
    button("pushButton_129", CMD_RANGE_STOP, "停止测距"),
    // Second page.
    button("pushButton_22", timeSync, "时间同步"),
    button("pushButton_110", setAddress, "设置"),
    button("pushButton_153", customTemplate, "自定义\n模板设置"),
    button("pushButton_160", CMD_TRACK_BY_ID, "取消编号跟踪"),
    button("pushButton_161", trackById, "按编号跟踪"),
    button("pushButton_116", CMD_TRACK_STEP, 0, "上一个目标"),
    button("pushButton_117", CMD_TRACK_STEP, 1, "下一个目标"),
    button("pushButton_154", detectionMode, "检测\n方式\n设置"),
    button("pushButton_150", regionOfInterest, "兴趣坐标设置"),
    button("pushButton_155", scanAzimuth, "方位扫描设置"),
    button("pushButton_162", scanTwoAxes, "设置"),
    button("pushButton_152", scanPitch, "俯仰扫描设置"),
    button("pushButton_156", scanRun, "执行扫描"),
    button("pushButton_158", geoGuide, "地理指引"),
    button("pushButton_159", geoTrack, "地理跟踪"),
    shortButton("pushButton_157", focalLength, "设置"),
    shortButton("pushButton_1571", illuminatorRate, "设置"),
    button("pushButton_1572", temperatureAlarm, "设置"),
    // Settings dialog, display page.
    settingsButton("pushButton_13", osdApply, "设置"),
    settingsButton("pushButton_14", osdStyle, "设置"),
    settingsButton("pushButton_15", osdSave, "保存"),
    // Combo boxes.
    combo("comboBox_4", palette, "伪彩："),
    combo("comboBox_5", enhancement, "图像增强："),
    combo("comboBox_3", templateSize, "模板大小："),
    combo("comboBox_7", byValue<CMD_FOG>, "透雾："),
    combo("comboBox_8", byValue<CMD_LOAD_ENABLE>, "载荷使能："),
    combo("comboBox_9", byValue<CMD_LOAD_SLEEP>, "载荷休眠："),
    combo("comboBox_10", byValue<CMD_VIDEO_MODE>, "显示模式："),
    combo("comboBox_11", byValue<CMD_OSD>, "OSD显示："),
    combo("comboBox_13", byValue<CMD_LOCATE_MODE>, "位置："),
    sendsNothing("comboBox_14", ControlKind::kCombo, "方位扫描"),
    sendsNothing("comboBox_15", ControlKind::kCombo, "俯仰扫描"),
    // Read by buttons only.
    sendsNothing("comboBox", ControlKind::kCombo, "陀螺速度"),
    sendsNothing("comboBox_2", ControlKind::kCombo, "速度："),
    sendsNothing("comboBox_6", ControlKind::kCombo, "秒/次"),
    // Switches.
    toggle("widget_3", byValue<CMD_AI_BOX>, "检测框："),
    toggle("widget_81", byValue<CMD_LASER_ILLUMINATOR>, "照射："),
    toggle("widget", byValue<CMD_NIGHT_MODE>, "夜间模式："),
    toggle("widget_2", stabilise, "电子稳像："),
    toggle("widget_4", byValue<CMD_AUTO_TRACK>, "自动跟踪："),
    toggle("widget_8", demist, "窗口除雾"),
    sendsNothing("widget_7", ControlKind::kSwitch, "跟踪联动："),
    sendsNothing("widget_82", ControlKind::kSwitch, "报警："),
};

}  // namespace

CatalogueView commandCatalogue() { return {kCatalogue, std::size(kCatalogue)}; }

const CatalogueRow* findControl(ControlKind kind, std::string_view object, ServoMode servo) {
    for (const CatalogueRow& row : kCatalogue) {
        if (row.kind != kind || object != row.object) {
            continue;
        }
        if (row.servo == ServoMode::kAny || row.servo == servo) {
            return &row;
        }
    }
    return nullptr;
}

Command commandOf(const CatalogueRow& row, const ControlReader& controls, int value) {
    if (row.build != nullptr) {
        return row.build(controls, value);
    }
    return row.code != 0 ? four(row.code, row.p1, row.p2) : Command();
}

void send(FrameSender& sender, const Command& command) {
    const auto& b = command.bytes;
    switch (command.kind) {
        case Command::Kind::kNone:
            break;
        case Command::Kind::kFour:
            sender.sendCommand4(command.code, b[0], b[1], b[2], b[3]);
            break;
        case Command::Kind::kRate:
            // No code in the frame's own place: the rate code alone moves the servo.
            sender.sendCommandRate(0, command.code, command.x, command.y);
            break;
        case Command::Kind::kPayload:
            sender.sendCommandPayload(command.code, b.data(), command.size);
            break;
    }
}

Command osdStyleCommand(int colour, int language) { return osd(4, osdStyleWord(colour, language)); }

Command zoomCommand(int window, int cmd, int display_mode) {
    if (window == 2) {
        return four(CMD_IR_LENS, cmd, 7);
    }
    if (window != 1) {
        return {};
    }
    if (!infraredShown(display_mode)) {
        return four(CMD_VL_LENS, cmd, 7);
    }
    return four(CMD_IR_LENS, cmd == 1 ? 15 : 16);
}

Command zoomBySourceCommand(bool in, int display_mode) {
    if (!infraredShown(display_mode)) {
        return four(CMD_VL_LENS, in ? 1 : 2);
    }
    return four(CMD_IR_LENS, in ? 15 : 16);
}

}  // namespace sorvane
