#include "simulator/pod/osd.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "simulator/pod/calendar.h"
#include "simulator/pod/mgrs.h"
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
    kFrameAngles = 4,
    kTime = 5,
    kFov = 6,
    kVisible = 7,
    kInfrared = 9,
    kLaser = 10,
    kMgrs = 11,  // set = instead of latitude and longitude
    kCard = 12,
    kTargetPosition = 13,
    kNorth = 14,
    kDegreesMinutes = 15,
    kHotSpot = 16,      // set = on
    kIlluminator = 17,  // set = on
    kTemperature = 18,  // set = on
    kRulers = 19,
    kRoll = 21,
    kLoads = 22,
};

constexpr Colour kAmber = {176, 52, 158};
constexpr Colour kRed = {106, 92, 222};

std::string coordinate(double degrees, char positive, char negative, bool minutes) {
    const char sign = degrees < 0 ? negative : positive;
    const double a = std::fabs(degrees);
    if (!minutes) {
        return formatText("%c%.6f\x7f", sign, a);
    }
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
        : m_s(s), m_views(views), m_channel(channel), m_c(canvas), m_scale(canvas.width >= 1000 ? 2 : 1) {
        constexpr Colour kColours[] = {{230, 128, 128}, {184, 82, 74}, {206, 40, 146}};
        m_colour = kColours[std::min<std::uint32_t>(s.osd_style & 7, 2)];
        m_line = (kGlyphHeight + 4) * m_scale;
        m_margin = 8 * m_scale;
        m_top = kNumberBlockPx + 4 * m_scale;
    }

    void draw() {
        drawDetections();
        drawBox();
        if (m_s.osd_level == 0 || !shown(kAll)) {
            return;
        }
        if (shown(kCross)) {
            drawCross();
        }
        drawState();
        drawAngles();
        if (m_s.osd_level < 2) {
            return;
        }
        drawClockAndAircraft();
        drawCameras();
        drawTarget();
        if (shown(kRulers)) {
            drawRulers();
        }
        if (shown(kNorth)) {
            drawNorth();
        }
        drawCustomText();
    }

private:
    bool bit(int b) const { return (m_s.osd_word >> b & 1) != 0; }
    bool shown(int off_bit) const { return !bit(off_bit); }

    void left(int row, const std::string& t, Colour c) {
        drawText(m_c, m_margin, m_top + row * m_line, t.c_str(), m_scale, c);
    }
    void left(int row, const std::string& t) { left(row, t, m_colour); }
    void right(int row, const std::string& t, Colour c) {
        drawText(m_c, m_c.width - m_margin - textWidth(t.c_str(), m_scale), m_top + row * m_line, t.c_str(),
                 m_scale, c);
    }
    void right(int row, const std::string& t) { right(row, t, m_colour); }
    int bottomRow(int row) const { return m_c.height - m_margin - (row + 1) * m_line + 4 * m_scale; }
    void bottomLeft(int row, const std::string& t) {
        drawText(m_c, m_margin, bottomRow(row), t.c_str(), m_scale, m_colour);
    }
    void bottomRight(int row, const std::string& t) {
        drawText(m_c, m_c.width - m_margin - textWidth(t.c_str(), m_scale) - m_inset, bottomRow(row),
                 t.c_str(), m_scale, m_colour);
    }
    void centred(int y, const std::string& t, Colour c) {
        drawText(m_c, (m_c.width - textWidth(t.c_str(), m_scale)) / 2, y, t.c_str(), m_scale, c);
    }

    void drawDetections() {
        if (!m_s.ai_box) {
            return;
        }
        const bool infrared = m_s.ai_source == 0;
        for (const VisibleObject& o : visibleObjects(m_s, m_c.width, m_c.height, m_channel)) {
            if (o.occluded || o.width_px < 14 || o.id == m_s.locked_object_id) {
                continue;
            }
            const int w = static_cast<int>(o.width_px) + 8, h = static_cast<int>(o.height_px) + 8;
            const int x = static_cast<int>(o.x_px) - w / 2, y = static_cast<int>(o.y_px) - h / 2;
            if (m_s.ai_method == 1 && !inRegion(o)) {
                continue;
            }
            const Colour c = infrared ? kAmber : Colour{170, 166, 60};
            corners(x & ~1, y & ~1, (w + 1) & ~1, (h + 1) & ~1, std::max(4, std::min(w, h) / 5 & ~1), c);
            drawText(m_c, x, y - (kGlyphHeight + 2), formatText("%d", o.id).c_str(), 1, c);
        }
    }

    bool inRegion(const VisibleObject& o) const {
        const double x = o.x_px - m_c.width / 2.0, y = m_c.height / 2.0 - o.y_px;
        return std::fabs(x - m_s.ai_roi_x_px) < m_c.width / 4.0 &&
               std::fabs(y - m_s.ai_roi_y_px) < m_c.height / 4.0;
    }

    void drawBox() {
        if (m_s.track_state == TrackState::kIdle) {
            return;
        }
        const std::vector<View> main_views = viewsOf(m_s, m_s.frame_width, m_s.frame_height, kMainChannel);
        const View& source = main_views[trackerView(main_views, m_s)];
        const Camera from = cameraOf(m_s, source);
        const BoxCentre box = boxCentreOf(m_s);
        const double dx = box.x - from.centre_x;
        const double dy = box.y - from.centre_y;
        Colour colour = {210, 80, 100};
        if (m_s.track_state == TrackState::kCoasting) {
            colour = kAmber;
        } else if (m_s.track_state == TrackState::kLost) {
            colour = kRed;
        }
        for (const View& view : m_views) {
            const Camera to = cameraOf(m_s, view);
            const double k = to.focal_px / from.focal_px;
            const double w = std::max(20.0, m_s.target_width_px * k + 12),
                         h = std::max(20.0, m_s.target_height_px * k + 12);
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
            fillRect(m_c, x, cy, arm, t, colour);
            fillRect(m_c, x + w - arm, cy, arm, t, colour);
        }
        for (const int cx : {x, x + w - t}) {
            fillRect(m_c, cx, y, t, arm, colour);
            fillRect(m_c, cx, y + h - arm, t, arm, colour);
        }
    }

    void drawCross() {
        for (const View& v : m_views) {
            // On even pixels, so that the colour covers the line exactly.
            const int x = (v.x + v.width / 2) & ~1, y = (v.y + v.height / 2) & ~1;
            const int gap = 7 * m_scale, reach = (v.width < 500 ? 14 : 26) * m_scale, t = 2;
            for (const int from : {-reach, gap}) {
                fillRect(m_c, x + from - 1, y - 1, reach - gap + 2, t + 2, {24, 128, 128}, 150);
                fillRect(m_c, x - 1, y + from - 1, t + 2, reach - gap + 2, {24, 128, 128}, 150);
                fillRect(m_c, x + from, y, reach - gap, t, m_colour);
                fillRect(m_c, x, y + from, t, reach - gap, m_colour);
            }
            fillRect(m_c, x, y, t, t, m_colour);
        }
    }

    void drawState() {
        const int below = m_c.height / 2 + m_c.height / 5;
        constexpr const char* kStates[] = {"", "TRACKING", "COASTING", "TARGET LOST", "CAPTURING"};
        constexpr const char* kTypes[] = {"POINT", "CAR", "TRUCK", "BUS", "BOAT"};
        if (m_s.track_state != TrackState::kIdle) {
            std::string line = kStates[static_cast<int>(m_s.track_state) % 5];
            line += formatText("  %s", kTypes[std::clamp(m_s.target_type, 0, 4)]);
            if (m_s.locked_object_id != 0) {
                line += formatText(" #%d", m_s.locked_object_id);
            }
            if (bit(kMiss)) {
                line += formatText("  DX%+.0f DY%+.0f", m_s.track_x_px, m_s.track_y_px);
            }
            const bool bad = m_s.track_state == TrackState::kCoasting || m_s.track_state == TrackState::kLost;
            centred(below, line, bad ? kAmber : m_colour);
        } else if (bit(kMiss)) {
            centred(below, "DX --- DY ---", m_colour);
        }
        if (m_s.nuc_s > 0) {
            centred(below + m_line, m_s.nuc_shutter ? "SHUTTER CORRECTION" : "BACKGROUND CORRECTION", kAmber);
        }
        if (!m_s.notice.empty()) {
            centred(bottomRow(3), m_s.notice, Colour{222, 128, 128});
        }
        if (m_s.recording) {
            const int seconds = static_cast<int>(m_s.record_s);
            const std::string clock = formatText("REC %02d:%02d", seconds / 60, seconds % 60);
            const int w = textWidth(clock.c_str(), m_scale);
            const int x = m_c.width - m_margin - w;
            drawText(m_c, x, m_top, clock.c_str(), m_scale, kRed);
            if (seconds % 2 == 0) {
                fillRect(m_c, x - 9 * m_scale, m_top, 6 * m_scale, 7 * m_scale, kRed);
            }
        }
        if (m_s.snapshotting || m_s.photographing) {
            frameRect(m_c, 2, kNumberBlockPx + 2, m_c.width - 4, m_c.height - kNumberBlockPx - 4, 2 * m_scale,
                      {235, 128, 128});
        }
    }

    void drawAngles() {
        bottomLeft(0, servoName(m_s.servo_state));
        if (shown(kFrameAngles)) {
            bottomLeft(1,
                       formatText("AZ %+07.2f\x7f  EL %+06.2f\x7f", m_s.frame_yaw_deg, m_s.frame_pitch_deg));
        }
        std::string attitude;
        if (shown(kAngles)) {
            attitude =
                formatText("Y %+07.2f\x7f  P %+06.2f\x7f", m_s.attitude_yaw_deg, m_s.attitude_pitch_deg);
        }
        if (shown(kRoll)) {
            attitude += formatText("%sR %+06.2f\x7f", attitude.empty() ? "" : "  ", m_s.attitude_roll_deg);
        }
        bottomLeft(2, attitude);
    }

    std::string position(double latitude_deg, double longitude_deg) const {
        const std::string grid = bit(kMgrs) ? mgrs(latitude_deg, longitude_deg) : std::string();
        if (!grid.empty()) {
            return grid;
        }
        const bool minutes = bit(kDegreesMinutes);
        return coordinate(latitude_deg, 'N', 'S', minutes) + "  " +
               coordinate(longitude_deg, 'E', 'W', minutes);
    }

    void drawClockAndAircraft() {
        int row = 0;
        if (shown(kTime)) {
            const CalendarTime t = toCalendar(m_s.utc_ms);
            left(row++, formatText("%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                                   t.second));
        }
        left(row++, position(m_s.latitude_deg, m_s.longitude_deg));
        left(row++,
             formatText("ALT %.0fM  AGL %.0fM  %.1fM/S", m_s.altitude_m, m_s.height_m, m_s.ground_speed_mps));
        left(row++, formatText("HDG %05.1f\x7f  P %+.1f\x7f R %+.1f\x7f", m_s.heading_deg, m_s.pitch_deg,
                               m_s.roll_deg));
        if (bit(kTemperature) || m_s.temperature_alarm_on) {
            const bool hot = m_s.temperature_alarm_on && m_s.max_temperature_c >= m_s.temperature_alarm_c;
            left(row++,
                 formatText("MAX %.1fC  CENTRE %.1fC", m_s.max_temperature_c, m_s.centre_temperature_c),
                 hot ? kRed : m_colour);
        }
        if (bit(kHotSpot)) {
            left(row++, formatText("HOT SPOT %.1fC", m_s.max_temperature_c));
        }
        // One that shines is told in any case.
        if (m_s.illuminator) {
            left(
                row++,
                m_s.illuminator_hz > 0 ? formatText("LASER ILLUM %.2fHZ", m_s.illuminator_hz) : "LASER ILLUM",
                kRed);
        } else if (bit(kIlluminator)) {
            left(row++, "LASER ILLUM OFF");
        }
        if (shown(kLoads)) {
            const bool good = m_s.module_bits == 0xFF;
            left(row++, good ? "MODULES OK" : formatText("MODULES %02X", m_s.module_bits),
                 good ? m_colour : kAmber);
        }
        std::string flags;
        auto flag = [&](bool on, const char* name) {
            flags += on ? (flags.empty() ? "" : " ") + std::string(name) : "";
        };
        flag(m_s.night_mode, "NIGHT");
        flag(m_s.fog_level > 0, formatText("FOG%d", m_s.fog_level).c_str());
        flag(m_s.window_defog, "DEFOG");
        flag(!m_s.stabilisation, "STAB OFF");
        flag(m_s.auto_track, "AUTO");
        flag(m_s.same_fov, "SAME FOV");
        flag(!m_s.laser_on, "LASER OFF");
        flag(!m_s.tracker_on, "TRACKER OFF");
        flag(!m_s.cooler_on, "COOLER OFF");
        if (!flags.empty()) {
            left(row++, flags);
        }
    }

    void drawCameras() {
        int row = 1;
        right(row++, m_channel == kInfraredChannel ? "IR" : modeName(m_s.display_mode));
        const bool visible =
            std::any_of(m_views.begin(), m_views.end(), [](const View& v) { return !v.infrared; });
        const bool infrared =
            std::any_of(m_views.begin(), m_views.end(), [](const View& v) { return v.infrared; });
        const std::string vl_fov = shown(kFov) ? formatText("  %.1f\x7f", m_s.vl_fov_deg) : "";
        const std::string ir_fov = shown(kFov) ? formatText("  %.1f\x7f", m_s.ir_fov_deg) : "";
        if (visible && shown(kVisible)) {
            const int ezoom = 1 << std::clamp(m_s.vl_ezoom_index, 0, 2);
            right(row++, formatText("VIS %.1fX%s", m_s.vl_zoom * ezoom, vl_fov.c_str()));
            if (m_s.vl_brightness != 0 || m_s.vl_contrast != 0 || !m_s.vl_auto_gain) {
                right(row++, formatText("B%+d C%+d G%s", m_s.vl_brightness, m_s.vl_contrast,
                                        m_s.vl_auto_gain ? "A" : formatText("%+d", m_s.vl_gain).c_str()));
            }
            if (m_s.vl_focus < 0.95) {
                right(row++, formatText("FOCUS %.0f%%", m_s.vl_focus * 100), kAmber);
            }
        }
        if (infrared && shown(kInfrared)) {
            right(row++, formatText("IR %.1fX%s%s", m_s.ir_zoom * m_s.ir_ezoom, m_s.ir_ezoom > 1 ? " E" : "",
                                    ir_fov.c_str()));
            right(row++, paletteName(m_s.ir_palette));
            if (m_s.ir_enhancement != 0 || m_s.ir_brightness != 0 || m_s.ir_contrast != 0) {
                right(row++,
                      formatText("DDE%d B%+d C%+d", m_s.ir_enhancement, m_s.ir_brightness, m_s.ir_contrast));
            }
            if (m_s.ir_focus < 0.95) {
                right(row++, formatText("FOCUS %.0f%%", m_s.ir_focus * 100), kAmber);
            }
        }
        if (shown(kCard)) {
            right(row++, m_s.tf_inserted ? formatText("TF %d%%", m_s.tf_free_percent) : "NO TF");
        }
    }

    void drawTarget() {
        for (const View& v : m_views) {
            if (v.width < m_c.width / 2) {
                m_inset = m_c.width - v.x + m_margin;
            }
        }
        if (shown(kTargetPosition) && m_s.target_valid) {
            bottomRight(0, position(m_s.target_latitude_deg, m_s.target_longitude_deg));
        }
        if (shown(kLaser)) {
            bottomRight(m_s.target_valid ? 1 : 0,
                        m_s.laser_range_m > 0
                            ? formatText("%sLRF %.1fM", m_s.laser_firing ? "*" : "", m_s.laser_range_m)
                            : "LRF ---");
        }
        m_inset = 0;
    }

    // Elevation at the left edge, azimuth relative to north along the top.
    void drawRulers() {
        const int height = m_c.height / 3, x = m_margin, y0 = m_c.height / 2 - height / 2;
        const double per_degree = height / 125.0;
        for (int e = 30; e >= -90; e -= 10) {
            const int y = y0 + static_cast<int>((30 - e) * per_degree);
            const bool named = e % 30 == 0;
            fillRect(m_c, x, y, (named ? 8 : 5) * m_scale, 1, m_colour);
            if (named) {
                drawText(m_c, x + 10 * m_scale, y - 3, formatText("%d", e).c_str(), 1, m_colour);
            }
        }
        const double y = y0 + (30 - std::clamp(m_s.frame_pitch_deg, -95.0, 30.0)) * per_degree;
        const double tip = x + 20.0 * m_scale;
        const Point mark[3] = {
            {tip, y}, {tip + 6.0 * m_scale, y - 3.0 * m_scale}, {tip + 6.0 * m_scale, y + 3.0 * m_scale}};
        fillConvex(m_c, mark, 3, m_colour);
        const int middle = m_c.width / 2, top = m_top + m_line, half = m_c.width / 10;
        const double turn = m_s.attitude_yaw_deg < 0 ? m_s.attitude_yaw_deg + 360 : m_s.attitude_yaw_deg;
        for (int a = static_cast<int>(std::ceil((turn - 30) / 5)) * 5; a <= turn + 30; a += 5) {
            const int ax = middle + static_cast<int>((a - turn) * half / 30);
            const bool named = a % 15 == 0;
            fillRect(m_c, ax, top, 1, (named ? 5 : 3) * m_scale, m_colour);
            if (named) {
                drawText(m_c, ax - 8, top - 10, formatText("%03d", (a + 360) % 360).c_str(), 1, m_colour);
            }
        }
        const double m = middle + 0.5, t = top + 6.0 * m_scale;
        const Point pointer[3] = {
            {m, t}, {m - 3.0 * m_scale, t + 5.0 * m_scale}, {m + 3.0 * m_scale, t + 5.0 * m_scale}};
        fillConvex(m_c, pointer, 3, m_colour);
    }

    void drawNorth() {
        const double r = 15.0 * m_scale, x = m_c.width - m_margin - r - 6 * m_scale, y = m_c.height / 2.0;
        const double a = -m_s.attitude_yaw_deg * kDeg;
        const double sx = std::sin(a), sy = -std::cos(a);
        const Point needle[4] = {{x + sx * r, y + sy * r},
                                 {x - sx * r * 0.7 - sy * r * 0.5, y - sy * r * 0.7 + sx * r * 0.5},
                                 {x - sx * r * 0.35, y - sy * r * 0.35},
                                 {x - sx * r * 0.7 + sy * r * 0.5, y - sy * r * 0.7 - sx * r * 0.5}};
        // The arrow is not convex: its two halves are.
        const Point one[3] = {needle[0], needle[1], needle[2]}, other[3] = {needle[0], needle[2], needle[3]};
        fillConvex(m_c, one, 3, m_colour);
        fillConvex(m_c, other, 3,
                   Colour{static_cast<std::uint8_t>(m_colour.y * 2 / 3), m_colour.u, m_colour.v});
        drawText(m_c, static_cast<int>(x + sx * r * 1.45) - 2 * m_scale,
                 static_cast<int>(y + sy * r * 1.45) - 3 * m_scale, "N", m_scale, m_colour);
    }

    void drawCustomText() {
        if (m_s.custom_text_on && !m_s.custom_text.empty()) {
            drawText(m_c, m_s.custom_text_x, m_s.custom_text_y, m_s.custom_text.c_str(), m_scale, m_colour);
        }
    }

    const Snapshot& m_s;
    const std::vector<View>& m_views;
    int m_channel;
    const Canvas& m_c;
    int m_scale;
    Colour m_colour;
    int m_line, m_margin, m_top;
    int m_inset = 0;
};

}  // namespace

void drawOsd(const Snapshot& snapshot, const std::vector<View>& views, int channel, const Canvas& canvas) {
    Osd(snapshot, views, channel, canvas).draw();
}

}  // namespace podsim
