// Commands to cameras, picture and on-screen display.
#include <algorithm>
#include <cmath>

#include "simulator/pod/palette.h"
#include "simulator/pod/pod_state.h"
#include "simulator/pod/text.h"

namespace podsim {
namespace {

constexpr int kLevelLimit = 5;

const char* onOff(bool on) { return on ? "on" : "off"; }

void change(int& level, bool up) { level = std::clamp(level + (up ? 1 : -1), -kLevelLimit, kLevelLimit); }

}  // namespace

// speed 0 to 7.
void Pod::State::moveLens(Lens& lens, int zoom, int focus, int speed, const Parameters& p) {
    const bool stop = p.word(0) == 0 && p.word(2) == 0;
    if (config.latched && zoom == 0 && focus == 0 && !stop) {
        return;
    }
    lens.zoom_direction = zoom;
    lens.focus_direction = focus;
    lens.speed = 0.25 + 0.11 * std::clamp(speed, 0, 7);
    if (zoom != 0 || focus != 0) {
        lens.auto_focus = false;
    }
}

void Pod::State::visibleLens(const Parameters& p) {
    const int action = p.byte(0), speed = p.byte(1);
    const bool was_moving = visible.moving();
    moveLens(visible,
             action == 1   ? 1
             : action == 2 ? -1
                           : 0,
             action == 3   ? 1
             : action == 4 ? -1
                           : 0,
             speed, p);
    constexpr const char* kActions[] = {"stop",      "zoom-in",    "zoom-out",
                                        "focus-far", "focus-near", "auto-focus"};
    if (action == 5) {
        visible.auto_focus = true;
    }
    if (action <= 5 && (action != 0 || was_moving)) {
        note("visible-lens", formatText("%s speed=%d zoom=%.1f", kActions[action], speed, visible.zoom));
    }
}

void Pod::State::infraredLens(const Parameters& p) {
    const int speed = p.byte(1);
    int action = p.byte(0);
    // 1 and 2 are focus when they come alone; with a speed they mean zoom, as on the other camera.
    if ((action == 1 || action == 2) && speed != 0) {
        action = action == 1 ? 15 : 16;
    }
    const bool was_moving = infrared.moving();
    moveLens(infrared,
             action == 15   ? 1
             : action == 16 ? -1
                            : 0,
             action == 1   ? 1
             : action == 2 ? -1
                           : 0,
             speed != 0 ? speed : 4, p);
    if (action == 3) {
        infrared.auto_focus = true;
    }
    const char* name = action == 15   ? "zoom-in"
                       : action == 16 ? "zoom-out"
                       : action == 1  ? "focus-far"
                       : action == 2  ? "focus-near"
                       : action == 3  ? "auto-focus"
                                      : "stop";
    if (action != 0 || was_moving) {
        note("infrared-lens", formatText("%s zoom=%.1f", name, infrared.zoom));
    }
}

void Pod::State::visibleImage(const Parameters& p) {
    const int item = p.byte(0), way = p.byte(1);
    switch (item) {
        case 1:
            change(s.vl_contrast, way == 1);
            break;
        case 2:
            change(s.vl_brightness, way == 1);
            break;
        case 4:
            s.stabilisation = way == 1;
            break;
        case 5:
            s.vl_auto_gain = way == 3;
            if (way != 3) {
                change(s.vl_gain, way == 1);
            }
            break;
        case 6:
            s.vl_brightness = s.vl_contrast = s.vl_gain = 0;
            s.vl_auto_gain = true;
            break;
        default:
            break;
    }
    note("visible-image",
         formatText("contrast=%d brightness=%d gain=%s%d stabilisation=%s", s.vl_contrast, s.vl_brightness,
                    s.vl_auto_gain ? "auto," : "", s.vl_gain, onOff(s.stabilisation)));
}

void Pod::State::focalLength(const Parameters& p) {
    const double wide_mm = s.vl_focal_mm / visible.zoom;
    visible.zoom = std::clamp(p.word(0) / 10.0 / wide_mm, visible.widest, visible.longest);
    note("focal-length", formatText("%.1fmm", visible.zoom * wide_mm));
}

void Pod::State::sameFov(const Parameters&) {
    // The visible camera has the longer range of zoom, so it comes to the infrared one.
    const double ratio = std::tan(s.vl_fov_deg * kDeg / 2) / std::tan(s.ir_fov_deg * kDeg / 2);
    visible.zoom = std::clamp(visible.zoom * ratio, visible.widest, visible.longest);
    s.same_fov = true;
    note("same-fov", formatText("%.1f", s.ir_fov_deg));
}

void Pod::State::fog(const Parameters& p) {
    s.fog_level = std::clamp(p.byte(0), 0, 3);
    note("fog", formatText("level=%d", s.fog_level));
}

void Pod::State::nightMode(const Parameters& p) {
    s.night_mode = p.byte(0) != 0;
    note("night-mode", onOff(s.night_mode));
}

void Pod::State::palette(const Parameters& p) {
    s.ir_palette = std::clamp(p.byte(1), 0, kPaletteCount - 1);
    note("infrared-palette", formatText("%d %s", s.ir_palette, paletteName(s.ir_palette)));
}

void Pod::State::electronicZoom(const Parameters&) {
    s.ir_ezoom = s.ir_ezoom >= 4 ? 1 : s.ir_ezoom * 2;
    note("infrared-ezoom", formatText("%.0fx", s.ir_ezoom));
}

void Pod::State::backgroundNuc(const Parameters&) {
    nuc_s = 1.5;
    s.nuc_shutter = false;
    note("background-compensation", "");
}

void Pod::State::shutterNuc(const Parameters&) {
    nuc_s = 0.7;
    s.nuc_shutter = true;
    note("shutter-compensation", "");
}

void Pod::State::enhancement(const Parameters& p) {
    s.ir_enhancement = std::clamp(p.byte(1), 0, 7);
    note("infrared-enhancement", formatText("level=%d", s.ir_enhancement));
}

void Pod::State::infraredDefaults(const Parameters&) {
    s.ir_palette = s.ir_enhancement = s.ir_brightness = s.ir_contrast = 0;
    s.ir_ezoom = 1;
    note("infrared-defaults", "");
}

void Pod::State::infraredBrightness(const Parameters& p) {
    change(s.ir_brightness, p.byte(0) == 0);
    note("infrared-brightness", formatText("%d", s.ir_brightness));
}

void Pod::State::infraredContrast(const Parameters& p) {
    change(s.ir_contrast, p.byte(0) == 0);
    note("infrared-contrast", formatText("%d", s.ir_contrast));
}

void Pod::State::temperatureAlarm(const Parameters& p) {
    s.temperature_alarm_on = p.byte(0) == 0x80;
    s.temperature_alarm_c = p.word(1) / 10.0;
    note("temperature-alarm", formatText("%s %.1fC", onOff(s.temperature_alarm_on), s.temperature_alarm_c));
}

void Pod::State::videoMode(const Parameters& p) {
    if (p.byte(0) > 6) {
        note("video-mode", formatText("%d refused", p.byte(0)));
        return;
    }
    s.display_mode = static_cast<DisplayMode>(p.byte(0));
    note("video-mode", formatText("%d", p.byte(0)));
}

void Pod::State::videoSwitch(const Parameters&) {
    // Each mode with the one that shows the other camera first.
    constexpr DisplayMode kOther[] = {
        DisplayMode::kVisibleWide, DisplayMode::kInfrared,  DisplayMode::kLeftRight, DisplayMode::kPipVisible,
        DisplayMode::kPipInfrared, DisplayMode::kTopBottom, DisplayMode::kInfrared};
    s.display_mode = kOther[static_cast<std::size_t>(s.display_mode)];
    note("video-switch", formatText("mode=%d", static_cast<int>(s.display_mode)));
}

void Pod::State::osd(const Parameters& p) {
    const std::uint32_t word = static_cast<std::uint32_t>(p.byte(1) | p.byte(2) << 8 | p.byte(3) << 16);
    constexpr std::uint32_t kSave = 1U << 8;
    if (p.byte(0) <= 2) {
        s.osd_level = p.byte(0);
        note("osd-level", formatText("%d", s.osd_level));
    } else if (p.byte(0) == 3) {
        s.osd_word = word & ~kSave;
        s.config_saved = s.config_saved || (word & kSave) != 0;
        note("osd-items", formatText("0x%06X%s", s.osd_word, word & kSave ? " saved" : ""));
    } else if (p.byte(0) == 4) {
        s.osd_style = word;
        note("osd-style", formatText("colour=%d language=%s", static_cast<int>(word & 7),
                                     word & 8 ? "english" : "chinese"));
    }
}

void Pod::State::windowDefog(const Parameters& p) {
    s.window_defog = p.byte(1) != 0;
    note("window-defog", onOff(s.window_defog));
}

}  // namespace podsim
