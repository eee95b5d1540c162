#include "simulator/pod/osd.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "simulator/pod/calendar.h"
#include "simulator/pod/palette.h"
#include "simulator/pod/renderer.h"
#include "simulator/pod/text.h"
#include "simulator/world/font.h"

namespace podsim {
namespace {

// Bits of the item word; most switch an item off.
enum ItemBit {
    kAll = 0,
    kCross = 1,
    kAngles = 2,
    kMiss = 3,  // set = on
    kTime = 5,
    kFov = 6,
    kVisible = 7,
    kInfrared = 9,
    kLaser = 10,
    kCard = 12,
    kTargetPosition = 13,
    kNorth = 14,
    kDegreesMinutes = 15,
    kIlluminator = 17,  // set = on
    kTemperature = 18,  // set = on
    kRulers = 19,
    kLoads = 22,
};

constexpr Colour kAmber = {176, 52, 158};
constexpr Colour kRed = {106, 92, 222};

std::string coordinate(double degrees, char positive, char negative, bool minutes) {
    const char sign = degrees < 0 ? negative : positive;
    const double a = std::fabs(degrees);
    if (!minutes) return formatText("%c%.6f\x7f", sign, a);
    const int d = static_cast<int>(a), m = static_cast<int>((a - d) * 60);
    return formatText("%c%d\x7f%02d'%04.1f\"", sign, d, m, (a - d - m / 60.0) * 3600);
}

const char* servoName(ServoState state) {
    constexpr const char* kNames[] = {"STANDBY",       "SERVO OFF",  "MANUAL", "STOWED",    "GUIDE",
                                      "HDG LOCK",      "SCAN",       "TRACK",  "LOOK DOWN", "GYRO CAL",
                                      "GYRO TEMP CAL", "HDG FOLLOW", "CENTRE", "GYRO RATE", "ATT GUIDE"};
    return kNames[static_cast<int>(state) % 15];
}

const char* modeName(DisplayMode mode) {
    constexpr const char* kNames[] = {"IR", "VIS WIDE", "VIS/IR", "IR+VIS", "VIS+IR", "IR/VIS", "VIS TELE"};
    return kNames[static_cast<int>(mode) % 7];
}

class Osd {
public:
    Osd(const Snapshot& s, const std::vector<View>& views, int channel, const Canvas& canvas)
        : s_(s), views_(views), channel_(channel), c_(canvas), scale_(canvas.width >= 1000 ? 2 : 1) {
        constexpr Colour kColours[] = {{230, 128, 128}, {184, 82, 74}, {206, 40, 146}};
        colour_ = kColours[std::min<std::uint32_t>(s.osd_style & 7, 2)];
        line_ = (kGlyphHeight + 4) * scale_;
        margin_ = 8 * scale_;
        top_ = kNumberBlockPx + 4 * scale_;
    }

    void draw() {
        drawDetections();
        drawBox();
        if (s_.osd_level == 0 || !shown(kAll)) return;
        if (shown(kCross)) drawCross();
        drawState();
        if (shown(kAngles)) drawAngles();
        if (s_.osd_level < 2) return;
        drawClockAndAircraft();
        drawCameras();
        drawTarget();
        if (shown(kRulers)) drawRulers();
        if (shown(kNorth)) drawNorth();
        drawCustomText();
    }

private:
    bool bit(int b) const { return (s_.osd_word >> b & 1) != 0; }
    bool shown(int off_bit) const { return !bit(off_bit); }

    void left(int row, const std::string& t, Colour c) {
        drawText(c_, margin_, top_ + row * line_, t.c_str(), scale_, c);
    }
    void left(int row, const std::string& t) { left(row, t, colour_); }
    void right(int row, const std::string& t, Colour c) {
        drawText(c_, c_.width - margin_ - textWidth(t.c_str(), scale_), top_ + row * line_, t.c_str(), scale_,
                 c);
    }
    void right(int row, const std::string& t) { right(row, t, colour_); }
    int bottomRow(int row) const { return c_.height - margin_ - (row + 1) * line_ + 4 * scale_; }
    void bottomLeft(int row, const std::string& t) {
        drawText(c_, margin_, bottomRow(row), t.c_str(), scale_, colour_);
    }
    void bottomRight(int row, const std::string& t) {
        drawText(c_, c_.width - margin_ - textWidth(t.c_str(), scale_) - inset_, bottomRow(row), t.c_str(),
                 scale_, colour_);
    }
    void centred(int y, const std::string& t, Colour c) {
        drawText(c_, (c_.width - textWidth(t.c_str(), scale_)) / 2, y, t.c_str(), scale_, c);
    }

    void drawDetections() {
        if (!s_.ai_box) return;
        const bool infrared = s_.ai_source == 0;
        for (const VisibleObject& o : visibleObjects(s_, c_.width, c_.height, channel_)) {
            if (o.occluded || o.width_px < 14 || o.id == s_.locked_object_id) continue;
            const int w = static_cast<int>(o.width_px) + 8, h = static_cast<int>(o.height_px) + 8;
            const int x = static_cast<int>(o.x_px) - w / 2, y = static_cast<int>(o.y_px) - h / 2;
            if (s_.ai_method == 1 && !inRegion(o)) continue;
            const Colour c = infrared ? kAmber : Colour{170, 166, 60};
            corners(x & ~1, y & ~1, (w + 1) & ~1, (h + 1) & ~1, std::max(4, std::min(w, h) / 5 & ~1), c);
            drawText(c_, x, y - (kGlyphHeight + 2), formatText("%d", o.id).c_str(), 1, c);
        }
    }

    bool inRegion(const VisibleObject& o) const {
        const double x = o.x_px - c_.width / 2.0, y = c_.height / 2.0 - o.y_px;
        return std::fabs(x - s_.ai_roi_x_px) < c_.width / 4.0 &&
               std::fabs(y - s_.ai_roi_y_px) < c_.height / 4.0;
    }

    void drawBox() {
        if (s_.track_state == TrackState::Idle) return;
        const std::vector<View> main_views = viewsOf(s_, s_.frame_width, s_.frame_height, kMainChannel);
        const View& source = main_views[trackerView(main_views, s_)];
        const Camera from = cameraOf(s_, source);
        const BoxCentre box = boxCentreOf(s_);
        const double dx = box.x - from.centre_x;
        const double dy = box.y - from.centre_y;
        Colour colour = {210, 80, 100};
        if (s_.track_state == TrackState::Coasting)
            colour = kAmber;
        else if (s_.track_state == TrackState::Lost)
            colour = kRed;
        for (const View& view : views_) {
            const Camera to = cameraOf(s_, view);
            const double k = to.focal_px / from.focal_px;
            const double w = std::max(20.0, s_.target_width_px * k + 12),
                         h = std::max(20.0, s_.target_height_px * k + 12);
            brackets(to.centre_x + dx * k, to.centre_y + dy * k, w, h, colour);
        }
    }

    void brackets(double x, double y, double w, double h, Colour colour) {
        const int x0 = static_cast<int>(std::lround(x - w / 2)),
                  y0 = static_cast<int>(std::lround(y - h / 2));
        const int x1 = static_cast<int>(std::lround(x + w / 2)),
                  y1 = static_cast<int>(std::lround(y + h / 2));
        corners(x0, y0, x1 - x0, y1 - y0, static_cast<int>(std::clamp(std::min(w, h) * 0.3, 5.0, 40.0)),
                colour);
    }

    // The four corners of a rectangle, with arms of a length.
    void corners(int x, int y, int w, int h, int arm, Colour colour) {
        const int t = 2;
        for (const int cy : {y, y + h - t}) {
            fillRect(c_, x, cy, arm, t, colour);
            fillRect(c_, x + w - arm, cy, arm, t, colour);
        }
        for (const int cx : {x, x + w - t}) {
            fillRect(c_, cx, y, t, arm, colour);
            fillRect(c_, cx, y + h - arm, t, arm, colour);
        }
    }

    void drawCross() {
        for (const View& v : views_) {
            // On even pixels, so that the colour covers the line exactly.
            const int x = (v.x + v.width / 2) & ~1, y = (v.y + v.height / 2) & ~1;
            const int gap = 7 * scale_, reach = (v.width < 500 ? 14 : 26) * scale_, t = 2;
            for (const int from : {-reach, gap}) {
                fillRect(c_, x + from - 1, y - 1, reach - gap + 2, t + 2, {24, 128, 128}, 150);
                fillRect(c_, x - 1, y + from - 1, t + 2, reach - gap + 2, {24, 128, 128}, 150);
                fillRect(c_, x + from, y, reach - gap, t, colour_);
                fillRect(c_, x, y + from, t, reach - gap, colour_);
            }
            fillRect(c_, x, y, t, t, colour_);
        }
    }

    void drawState() {
        const int below = c_.height / 2 + c_.height / 5;
        constexpr const char* kStates[] = {"", "TRACKING", "COASTING", "TARGET LOST", "CAPTURING"};
        constexpr const char* kTypes[] = {"POINT", "CAR", "TRUCK", "BUS", "BOAT"};
        if (s_.track_state != TrackState::Idle) {
            std::string line = kStates[static_cast<int>(s_.track_state) % 5];
            line += formatText("  %s", kTypes[std::clamp(s_.target_type, 0, 4)]);
            if (s_.locked_object_id != 0) line += formatText(" #%d", s_.locked_object_id);
            if (bit(kMiss)) line += formatText("  DX%+.0f DY%+.0f", s_.track_x_px, s_.track_y_px);
            const bool bad = s_.track_state == TrackState::Coasting || s_.track_state == TrackState::Lost;
            centred(below, line, bad ? kAmber : colour_);
        }
        if (s_.nuc_s > 0)
            centred(below + line_, s_.nuc_shutter ? "SHUTTER CORRECTION" : "BACKGROUND CORRECTION", kAmber);
        if (!s_.notice.empty()) centred(bottomRow(3), s_.notice, Colour{222, 128, 128});
        if (s_.recording) {
            const int seconds = static_cast<int>(s_.record_s);
            const std::string clock = formatText("REC %02d:%02d", seconds / 60, seconds % 60);
            const int w = textWidth(clock.c_str(), scale_);
            const int x = c_.width - margin_ - w;
            drawText(c_, x, top_, clock.c_str(), scale_, kRed);
            if (seconds % 2 == 0) fillRect(c_, x - 9 * scale_, top_, 6 * scale_, 7 * scale_, kRed);
        }
        if (s_.snapshotting || s_.photographing)
            frameRect(c_, 2, kNumberBlockPx + 2, c_.width - 4, c_.height - kNumberBlockPx - 4, 2 * scale_,
                      {235, 128, 128});
    }

    void drawAngles() {
        bottomLeft(1, formatText("AZ %+07.2f\x7f  EL %+06.2f\x7f", s_.frame_yaw_deg, s_.frame_pitch_deg));
        bottomLeft(0, formatText("%s", servoName(s_.servo_state)));
    }

    void drawClockAndAircraft() {
        int row = 0;
        const bool minutes = bit(kDegreesMinutes);
        if (shown(kTime)) {
            const CalendarTime t = toCalendar(s_.utc_ms);
            left(row++, formatText("%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                                   t.second));
        }
        left(row++, coordinate(s_.latitude_deg, 'N', 'S', minutes) + "  " +
                        coordinate(s_.longitude_deg, 'E', 'W', minutes));
        left(row++,
             formatText("ALT %.0fM  AGL %.0fM  %.1fM/S", s_.altitude_m, s_.height_m, s_.ground_speed_mps));
        left(row++, formatText("HDG %05.1f\x7f  P %+.1f\x7f R %+.1f\x7f", s_.heading_deg, s_.pitch_deg,
                               s_.roll_deg));
        if (bit(kTemperature) || s_.temperature_alarm_on) {
            const bool hot = s_.temperature_alarm_on && s_.max_temperature_c >= s_.temperature_alarm_c;
            left(row++, formatText("MAX %.1fC  CENTRE %.1fC", s_.max_temperature_c, s_.centre_temperature_c),
                 hot ? kRed : colour_);
        }
        if (s_.illuminator)
            left(row++,
                 s_.illuminator_hz > 0 ? formatText("LASER ILLUM %.2fHZ", s_.illuminator_hz) : "LASER ILLUM",
                 kRed);
        if (shown(kLoads) && s_.module_bits != 0xFF)
            left(row++, formatText("MODULES %02X", s_.module_bits), kAmber);
        std::string flags;
        auto flag = [&](bool on, const char* name) {
            flags += on ? (flags.empty() ? "" : " ") + std::string(name) : "";
        };
        flag(s_.night_mode, "NIGHT");
        flag(s_.fog_level > 0, formatText("FOG%d", s_.fog_level).c_str());
        flag(s_.window_defog, "DEFOG");
        flag(!s_.stabilisation, "STAB OFF");
        flag(s_.auto_track, "AUTO");
        flag(s_.same_fov, "SAME FOV");
        flag(!s_.laser_on, "LASER OFF");
        flag(!s_.tracker_on, "TRACKER OFF");
        flag(!s_.cooler_on, "COOLER OFF");
        if (!flags.empty()) left(row++, flags);
    }

    void drawCameras() {
        int row = 1;
        right(row++, channel_ == kInfraredChannel ? "IR" : modeName(s_.display_mode));
        const bool visible =
            std::any_of(views_.begin(), views_.end(), [](const View& v) { return !v.infrared; });
        const bool infrared =
            std::any_of(views_.begin(), views_.end(), [](const View& v) { return v.infrared; });
        const std::string vl_fov = shown(kFov) ? formatText("  %.1f\x7f", s_.vl_fov_deg) : "";
        const std::string ir_fov = shown(kFov) ? formatText("  %.1f\x7f", s_.ir_fov_deg) : "";
        if (visible && shown(kVisible)) {
            const int ezoom = 1 << std::clamp(s_.vl_ezoom_index, 0, 2);
            right(row++, formatText("VIS %.1fX%s", s_.vl_zoom * ezoom, vl_fov.c_str()));
            if (s_.vl_brightness != 0 || s_.vl_contrast != 0 || !s_.vl_auto_gain)
                right(row++, formatText("B%+d C%+d G%s", s_.vl_brightness, s_.vl_contrast,
                                        s_.vl_auto_gain ? "A" : formatText("%+d", s_.vl_gain).c_str()));
            if (s_.vl_focus < 0.95) right(row++, formatText("FOCUS %.0f%%", s_.vl_focus * 100), kAmber);
        }
        if (infrared && shown(kInfrared)) {
            right(row++, formatText("IR %.1fX%s%s", s_.ir_zoom * s_.ir_ezoom, s_.ir_ezoom > 1 ? " E" : "",
                                    ir_fov.c_str()));
            right(row++, paletteName(s_.ir_palette));
            if (s_.ir_enhancement != 0 || s_.ir_brightness != 0 || s_.ir_contrast != 0)
                right(row++,
                      formatText("DDE%d B%+d C%+d", s_.ir_enhancement, s_.ir_brightness, s_.ir_contrast));
            if (s_.ir_focus < 0.95) right(row++, formatText("FOCUS %.0f%%", s_.ir_focus * 100), kAmber);
        }
        if (shown(kCard)) right(row++, s_.tf_inserted ? formatText("TF %d%%", s_.tf_free_percent) : "NO TF");
    }

    void drawTarget() {
        for (const View& v : views_) {
            if (v.width < c_.width / 2) inset_ = c_.width - v.x + margin_;
        }
        const bool minutes = bit(kDegreesMinutes);
        if (shown(kTargetPosition) && s_.target_valid)
            bottomRight(0, coordinate(s_.target_latitude_deg, 'N', 'S', minutes) + "  " +
                               coordinate(s_.target_longitude_deg, 'E', 'W', minutes));
        if (shown(kLaser))
            bottomRight(s_.target_valid ? 1 : 0,
                        s_.laser_range_m > 0
                            ? formatText("%sLRF %.1fM", s_.laser_firing ? "*" : "", s_.laser_range_m)
                            : "LRF ---");
        inset_ = 0;
    }

    // Elevation at the left edge, azimuth relative to north along the top.
    void drawRulers() {
        const int height = c_.height / 3, x = margin_, y0 = c_.height / 2 - height / 2;
        const double per_degree = height / 125.0;
        for (int e = 30; e >= -90; e -= 10) {
            const int y = y0 + static_cast<int>((30 - e) * per_degree);
            const bool named = e % 30 == 0;
            fillRect(c_, x, y, (named ? 8 : 5) * scale_, 1, colour_);
            if (named) drawText(c_, x + 10 * scale_, y - 3, formatText("%d", e).c_str(), 1, colour_);
        }
        const double y = y0 + (30 - std::clamp(s_.frame_pitch_deg, -95.0, 30.0)) * per_degree;
        const double tip = x + 20.0 * scale_;
        const Point mark[3] = {
            {tip, y}, {tip + 6.0 * scale_, y - 3.0 * scale_}, {tip + 6.0 * scale_, y + 3.0 * scale_}};
        fillConvex(c_, mark, 3, colour_);
        const int middle = c_.width / 2, top = top_ + line_, half = c_.width / 10;
        const double turn = s_.attitude_yaw_deg < 0 ? s_.attitude_yaw_deg + 360 : s_.attitude_yaw_deg;
        for (int a = static_cast<int>(std::ceil((turn - 30) / 5)) * 5; a <= turn + 30; a += 5) {
            const int ax = middle + static_cast<int>((a - turn) * half / 30);
            const bool named = a % 15 == 0;
            fillRect(c_, ax, top, 1, (named ? 5 : 3) * scale_, colour_);
            if (named)
                drawText(c_, ax - 8, top - 10, formatText("%03d", (a + 360) % 360).c_str(), 1, colour_);
        }
        const double m = middle + 0.5, t = top + 6.0 * scale_;
        const Point pointer[3] = {
            {m, t}, {m - 3.0 * scale_, t + 5.0 * scale_}, {m + 3.0 * scale_, t + 5.0 * scale_}};
        fillConvex(c_, pointer, 3, colour_);
    }

    void drawNorth() {
        const double r = 15.0 * scale_, x = c_.width - margin_ - r - 6 * scale_, y = c_.height / 2.0;
        const double a = -s_.attitude_yaw_deg * kDeg;
        const double sx = std::sin(a), sy = -std::cos(a);
        const Point needle[4] = {{x + sx * r, y + sy * r},
                                 {x - sx * r * 0.7 - sy * r * 0.5, y - sy * r * 0.7 + sx * r * 0.5},
                                 {x - sx * r * 0.35, y - sy * r * 0.35},
                                 {x - sx * r * 0.7 + sy * r * 0.5, y - sy * r * 0.7 - sx * r * 0.5}};
        // The arrow is not convex: its two halves are.
        const Point one[3] = {needle[0], needle[1], needle[2]}, other[3] = {needle[0], needle[2], needle[3]};
        fillConvex(c_, one, 3, colour_);
        fillConvex(c_, other, 3, Colour{static_cast<std::uint8_t>(colour_.y * 2 / 3), colour_.u, colour_.v});
        drawText(c_, static_cast<int>(x + sx * r * 1.45) - 2 * scale_,
                 static_cast<int>(y + sy * r * 1.45) - 3 * scale_, "N", scale_, colour_);
    }

    void drawCustomText() {
        if (s_.custom_text_on && !s_.custom_text.empty())
            drawText(c_, s_.custom_text_x, s_.custom_text_y, s_.custom_text.c_str(), scale_, colour_);
    }

    const Snapshot& s_;
    const std::vector<View>& views_;
    int channel_;
    const Canvas& c_;
    int scale_;
    Colour colour_;
    int line_, margin_, top_;
    int inset_ = 0;
};

}  // namespace

void drawOsd(const Snapshot& snapshot, const std::vector<View>& views, int channel, const Canvas& canvas) {
    Osd(snapshot, views, channel, canvas).draw();
}

}  // namespace podsim
