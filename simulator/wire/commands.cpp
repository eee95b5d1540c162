#include "simulator/wire/commands.h"

#include <algorithm>
#include <iterator>

#include "simulator/pod/text.h"
#include "simulator/wire/bytes.h"

namespace podsim {
namespace {

constexpr CommandInfo kCommands[] = {
    {17, "MNT_SBUS_CHANNELS", PayloadForm::kBytes},  {19, "MNT_PASS_THROUGH", PayloadForm::kBytes},
    {25, "MNT_FOLDER_NAMING", PayloadForm::kText},   {26, "MNT_CUSTOM_TEXT", PayloadForm::kText},
    {27, "CMD_GEO_GUIDE", PayloadForm::kGeo},        {28, "CMD_GEO_TRACK", PayloadForm::kGeo},
    {32, "CMD_TIME_SYNC", PayloadForm::kClock},      {33, "CMD_LOAD_ENABLE", PayloadForm::kBytes},
    {34, "CMD_LOAD_SLEEP", PayloadForm::kBytes},     {35, "CMD_TRACK_TEMPLATE", PayloadForm::kBytes},
    {36, "CMD_DUAL_SAME_FOV", PayloadForm::kNone},   {37, "CMD_VIDEO_MODE", PayloadForm::kBytes},
    {40, "CMD_WINDOW_DEFOG", PayloadForm::kBytes},   {41, "CMD_SET_IP", PayloadForm::kBytes},
    {49, "CMD_VIDEO_SWITCH", PayloadForm::kNone},    {50, "CMD_SNAPSHOT", PayloadForm::kNone},
    {51, "CMD_RECORD", PayloadForm::kNone},          {53, "CMD_LASER_ILLUMINATOR", PayloadForm::kBytes},
    {54, "MNT_CONFIGURATION", PayloadForm::kBytes},  {55, "CMD_OSD", PayloadForm::kBytes},
    {56, "MNT_REQUEST_INFO", PayloadForm::kBytes},   {57, "MNT_MODE", PayloadForm::kBytes},
    {58, "CMD_TRACK_POINT", PayloadForm::kWords},    {59, "CMD_TRACK_STOP", PayloadForm::kNone},
    {61, "CMD_RANGE_SINGLE", PayloadForm::kNone},    {62, "CMD_RANGE_CONTINUOUS", PayloadForm::kBytes},
    {63, "CMD_RANGE_STOP", PayloadForm::kNone},      {65, "CMD_VL_IMAGE", PayloadForm::kBytes},
    {69, "CMD_VL_LENS", PayloadForm::kBytes},        {74, "CMD_FOG", PayloadForm::kBytes},
    {75, "CMD_NIGHT_MODE", PayloadForm::kBytes},     {76, "CMD_VL_FOCAL_LENGTH", PayloadForm::kWords},
    {80, "CMD_IR_LENS", PayloadForm::kBytes},        {83, "CMD_IR_PALETTE", PayloadForm::kBytes},
    {84, "CMD_IR_EZOOM", PayloadForm::kNone},        {85, "CMD_IR_BACKGROUND_NUC", PayloadForm::kNone},
    {86, "CMD_IR_SHUTTER_NUC", PayloadForm::kNone},  {87, "CMD_IR_DDE", PayloadForm::kBytes},
    {88, "CMD_IR_DEFAULTS", PayloadForm::kBytes},    {89, "CMD_IR_BRIGHTNESS", PayloadForm::kBytes},
    {90, "CMD_IR_CONTRAST", PayloadForm::kBytes},    {92, "CMD_IR_TEMP_ALARM", PayloadForm::kBytes},
    {98, "MNT_ENCODER", PayloadForm::kBytes},        {112, "CMD_SERVO_RATE", PayloadForm::kWords},
    {113, "CMD_SERVO_CENTRE", PayloadForm::kNone},   {114, "CMD_DIGITAL_GUIDE", PayloadForm::kCentiDegrees},
    {115, "CMD_LOOK_DOWN", PayloadForm::kNone},      {116, "CMD_STOW", PayloadForm::kNone},
    {117, "CMD_SERVO_OFF", PayloadForm::kNone},      {118, "CMD_GYRO_RATE", PayloadForm::kBytes},
    {119, "CMD_SCAN_AZ", PayloadForm::kWords},       {120, "CMD_SCAN_EL", PayloadForm::kWords},
    {121, "CMD_SCAN_RUN", PayloadForm::kBytes},      {122, "CMD_HEADING_LOCK", PayloadForm::kNone},
    {123, "CMD_HEADING_FOLLOW", PayloadForm::kNone}, {124, "CMD_ATTITUDE_GUIDE", PayloadForm::kCentiDegrees},
    {132, "CMD_LOCATE_MODE", PayloadForm::kBytes},   {144, "CMD_TRACK_STEP", PayloadForm::kBytes},
    {145, "CMD_AI_BOX", PayloadForm::kBytes},        {147, "CMD_TRACK_BY_ID", PayloadForm::kBytes},
    {149, "CMD_AUTO_TRACK", PayloadForm::kBytes},    {154, "CMD_AI_MODE", PayloadForm::kBytes},
    {155, "CMD_AI_ROI", PayloadForm::kWords},        {1026, "CMD_NAV_BLOCK", PayloadForm::kNav},
    {12288, "MNT_FIRMWARE", PayloadForm::kBytes},
};

std::string describeBytes(const std::uint8_t* p, std::size_t n) {
    std::string text;
    for (std::size_t i = 0; i < std::min<std::size_t>(n, 12); ++i) {
        text += formatText("%sp%u=%u", i ? " " : "", static_cast<unsigned>(i + 1), p[i]);
    }
    if (n > 12) {
        text += formatText(" more=%u", static_cast<unsigned>(n - 12));
    }
    return text;
}

}  // namespace

const CommandInfo* commandTable() { return kCommands; }
std::size_t commandCount() { return std::size(kCommands); }

const CommandInfo* findCommand(std::uint16_t code) {
    const auto* found = std::lower_bound(std::begin(kCommands), std::end(kCommands), code,
                                         [](const CommandInfo& c, std::uint16_t k) { return c.code < k; });
    return found != std::end(kCommands) && found->code == code ? found : nullptr;
}

const char* wireName(std::uint16_t code) {
    const CommandInfo* info = findCommand(code);
    return info ? info->name : "UNKNOWN";
}

std::string describePayload(std::uint16_t code, const std::uint8_t* p, std::size_t n) {
    const CommandInfo* info = findCommand(code);
    const PayloadForm form = info ? info->form : PayloadForm::kBytes;
    switch (form) {
        case PayloadForm::kNone:
            return {};
        case PayloadForm::kWords:
            if (n < 4) {
                break;
            }
            return formatText("a=%d b=%d", getI16(p), getI16(p + 2));
        case PayloadForm::kCentiDegrees:
            if (n < 4) {
                break;
            }
            return formatText("azimuth_deg=%.2f pitch_deg=%.2f", getI16(p) * 0.01, getI16(p + 2) * 0.01);
        case PayloadForm::kGeo:
            if (n < 12) {
                break;
            }
            return formatText("longitude_deg=%.7f latitude_deg=%.7f altitude_m=%.1f", getI32(p) * 1e-7,
                              getI32(p + 4) * 1e-7, getI32(p + 8) * 0.1);
        case PayloadForm::kClock:
            if (n < 9) {
                break;
            }
            return formatText("time=%04u-%02u-%02uT%02u:%02u:%02u.%02u", getU16(p), p[2], p[3], p[4], p[5],
                              p[6], getU16(p + 7));
        case PayloadForm::kNav: {
            if (n < wire::kNavBlockSize) {
                break;
            }
            const auto nav = wire::decodeNavBlock(p, wire::PositionForm::kInteger);
            return formatText("longitude_deg=%.7f latitude_deg=%.7f altitude_m=%.0f heading_deg=%.2f",
                              nav.longitude_deg, nav.latitude_deg, nav.altitude_m, nav.heading_deg);
        }
        case PayloadForm::kBytes:
        case PayloadForm::kText:
            break;
    }
    return describeBytes(p, n);
}

std::string toHex(const std::uint8_t* data, std::size_t n) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text(2 * n, '0');
    for (std::size_t i = 0; i < n; ++i) {
        text[2 * i] = digits[data[i] >> 4];
        text[2 * i + 1] = digits[data[i] & 15];
    }
    return text;
}

}  // namespace podsim
