#include "telemetry/telemetry_record.h"

#include "telemetry/translation_mark.h"

namespace sorvane {

namespace {

template <std::size_t N>
const char* textAt(const char* const (&texts)[N], int index) {
    return index >= 0 && static_cast<std::size_t>(index) < N ? texts[index] : nullptr;
}

const char* const kLoadTypes[] = {
    QT_TRANSLATE_NOOP("Korvath", "白光"), QT_TRANSLATE_NOOP("Korvath", "红外"),
    QT_TRANSLATE_NOOP("Korvath", "双光"), QT_TRANSLATE_NOOP("Korvath", "三光"),
    QT_TRANSLATE_NOOP("Korvath", "四光"),
};

// "较漂" (not "校漂") is the wording the operators know.
const char* const kServoStates[] = {
    QT_TRANSLATE_NOOP("Korvath", "待命"),         QT_TRANSLATE_NOOP("Korvath", "关伺服"),
    QT_TRANSLATE_NOOP("Korvath", "手动"),         QT_TRANSLATE_NOOP("Korvath", "收藏"),
    QT_TRANSLATE_NOOP("Korvath", "数引"),         QT_TRANSLATE_NOOP("Korvath", "航向锁定"),
    QT_TRANSLATE_NOOP("Korvath", "扫描"),         QT_TRANSLATE_NOOP("Korvath", "跟踪"),
    QT_TRANSLATE_NOOP("Korvath", "垂直下视"),     QT_TRANSLATE_NOOP("Korvath", "陀螺自动较漂"),
    QT_TRANSLATE_NOOP("Korvath", "陀螺温度较漂"), QT_TRANSLATE_NOOP("Korvath", "航向随动"),
    QT_TRANSLATE_NOOP("Korvath", "归中"),         QT_TRANSLATE_NOOP("Korvath", "手动陀螺较漂"),
    QT_TRANSLATE_NOOP("Korvath", "姿态指引"),
};

const char* const kDisplayModes[] = {
    QT_TRANSLATE_NOOP("Korvath", "红外"),
    QT_TRANSLATE_NOOP("Korvath", "可见光（广角）"),
    QT_TRANSLATE_NOOP("Korvath", "可见/红外上下分屏"),
    QT_TRANSLATE_NOOP("Korvath", "红外显示，可见光小窗口画中画"),
    QT_TRANSLATE_NOOP("Korvath", "可见光显示，红外小窗口画中画"),
    QT_TRANSLATE_NOOP("Korvath", "红外/可见光左右分屏"),
    QT_TRANSLATE_NOOP("Korvath", "可见光（长焦）"),
};

const char* const kTrackStates[] = {
    QT_TRANSLATE_NOOP("Korvath", "空闲状态"), QT_TRANSLATE_NOOP("Korvath", "稳定跟踪"),
    QT_TRANSLATE_NOOP("Korvath", "记忆跟踪"), QT_TRANSLATE_NOOP("Korvath", "目标丢失"),
    QT_TRANSLATE_NOOP("Korvath", "截获状态"),
};

const char* const kVisibleZooms[] = {"1x", "2x", "4x"};
const char* const kNoText = "-----";

}  // namespace

const char* loadTypeText(int load_type) {
    const char* text = textAt(kLoadTypes, load_type - 1);
    return text != nullptr ? text : QT_TRANSLATE_NOOP("Korvath", "非法值");
}

const char* servoStateText(int servo_state) {
    return textAt(kServoStates, servo_state == 15 ? 14 : servo_state);
}

const char* displayModeText(int display_mode) {
    const char* text = textAt(kDisplayModes, display_mode);
    return text != nullptr ? text : kNoText;
}

const char* trackStateText(int track_state) {
    return textAt(kTrackStates, track_state == 5 ? 4 : track_state);
}

const char* visibleZoomText(int zoom_bits) { return textAt(kVisibleZooms, zoom_bits); }

const char* guidanceText(int attitude_guidance_feedback) {
    switch (attitude_guidance_feedback) {
        case 18:
            return QT_TRANSLATE_NOOP("Korvath", "姿态指示中");
        case 19:
            return QT_TRANSLATE_NOOP("Korvath", "姿态指示完成");
        default:
            return kNoText;
    }
}

}  // namespace sorvane
