#include "simulator/wire/wire.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "simulator/wire/bytes.h"

namespace podsim::wire {
namespace {

constexpr std::uint8_t kCommandMagic0 = 0xFB;
constexpr std::uint8_t kReplyMagic0 = 0xFC;
constexpr std::uint8_t kMagic1 = 0x2C;
constexpr std::uint8_t kVariableCommandMark = 0xAA;
constexpr std::uint8_t kVariableReplyMark = 0x55;
constexpr std::uint8_t kTrailer = 0xF0;
constexpr double kPositionUnit = 1e-7;        // degrees
constexpr double kSpeedUnit_mps = 0.1 / 3.6;  // 0.1 km/h

// The commands whose payload takes the place of the aircraft's block in a fixed frame.
std::size_t longPayloadOf(std::uint8_t code) {
    switch (code) {
        case 0x1B:
        case 0x1C:
            return 12;
        case 0x20:
            return 9;
        default:
            return 0;
    }
}

template <typename T>
T roundInto(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double low = static_cast<double>(std::numeric_limits<T>::min());
    const double high = static_cast<double>(std::numeric_limits<T>::max());
    return static_cast<T>(std::clamp(std::round(value), low, high));
}

Command decodeFixed(const std::uint8_t* frame) {
    Command c;
    c.frame = Command::Frame::kFixed;
    c.code = frame[2];
    const std::size_t long_payload = longPayloadOf(frame[2]);
    c.payload.assign(frame + 3, frame + 3 + (long_payload ? long_payload : 4));
    if (long_payload == 0) {
        c.has_nav = true;
        c.nav = decodeNavBlock(frame + 7, PositionForm::kFloatDegrees);
    }
    c.rate_code = frame[37];
    c.rate_azimuth = getI16(frame + 38);
    c.rate_pitch = getI16(frame + 40);
    c.raw.assign(frame, frame + kFixedCommandSize);
    return c;
}

Command decodeVariable(const std::uint8_t* frame, std::size_t total) {
    Command c;
    c.frame = Command::Frame::kVariable;
    c.code = getU16(frame + 4);
    c.payload.assign(frame + 6, frame + total - 1);
    if (c.code == kNavBlockCode && c.payload.size() >= kNavBlockSize) {
        c.has_nav = true;
        c.nav = decodeNavBlock(c.payload.data(), PositionForm::kInteger);
    }
    c.raw.assign(frame, frame + total);
    return c;
}

// Writes the 60 bytes up to and without the position, which has two forms.
void encodeReportPayload(const Report& r, std::uint8_t* p) {
    p[0] = r.load_type == kVariableReplyMark ? 0 : r.load_type;
    p[1] = r.module_status;
    putU16(p + 2, r.status_word_a);
    putU16(p + 4, r.status_word_b);
    p[6] = r.servo_state;
    putI16(p + 7, r.frame_yaw);
    putI16(p + 9, r.frame_pitch);
    putI16(p + 11, r.frame_roll);
    p[13] = r.load_version;
    putU16(p + 14, r.ir_fov);
    p[16] = r.tf_free_percent;
    putU16(p + 17, r.vl_fov);
    putU16(p + 19, r.tf_capacity);
    putU16(p + 21, r.ir_focal_length);
    putU16(p + 23, r.vl_focal_length);
    putU16(p + 25, r.laser_distance);
    putI16(p + 35, r.target_altitude);
    putI16(p + 37, r.driver_temperature);
    putI16(p + 39, r.attitude_yaw);
    putI16(p + 41, r.attitude_pitch);
    putI16(p + 43, r.attitude_roll);
    p[45] = r.display_mode;
    p[46] = r.command_feedback;
    p[47] = r.attitude_guidance_feedback;
    putI16(p + 48, r.track_x);
    putI16(p + 50, r.track_y);
    putU16(p + 52, r.target_width);
    putU16(p + 54, r.target_height);
    p[56] = r.target_type;
    p[57] = r.track_state;
    putI16(p + 58, r.max_temperature);
}

constexpr std::size_t kLongitudeAt = 27;
constexpr std::size_t kLatitudeAt = 31;

}  // namespace

std::int16_t toI16(double value) { return roundInto<std::int16_t>(value); }
std::uint16_t toU16(double value) { return roundInto<std::uint16_t>(value); }
std::uint8_t toU8(double value) { return roundInto<std::uint8_t>(value); }
std::int32_t toI32(double value) { return roundInto<std::int32_t>(value); }

std::uint8_t xorOf(const std::uint8_t* data, std::size_t n) {
    std::uint8_t x = 0;
    for (std::size_t i = 0; i < n; ++i) {
        x = static_cast<std::uint8_t>(x ^ data[i]);
    }
    return x;
}

NavBlock decodeNavBlock(const std::uint8_t* b, PositionForm form) {
    NavBlock nav;
    nav.pitch_deg = getI16(b) * 0.01;
    nav.roll_deg = getI16(b + 2) * 0.01;
    nav.heading_deg = getU16(b + 4) * 0.01;
    nav.year = b[6];
    nav.month = b[7];
    nav.day = b[8];
    nav.hour = b[9];
    nav.minute = b[10];
    nav.second = b[11];
    nav.hundredths = b[12];
    if (form == PositionForm::kFloatDegrees) {
        nav.longitude_deg = static_cast<double>(getF32(b + 13));
        nav.latitude_deg = static_cast<double>(getF32(b + 17));
    } else {
        nav.longitude_deg = getI32(b + 13) * kPositionUnit;
        nav.latitude_deg = getI32(b + 17) * kPositionUnit;
    }
    nav.satellites = b[21];
    nav.altitude_m = getI16(b + 22);
    nav.north_speed_mps = getI16(b + 24) * kSpeedUnit_mps;
    nav.east_speed_mps = getI16(b + 26) * kSpeedUnit_mps;
    nav.ground_speed_mps = getI16(b + 28) * kSpeedUnit_mps;
    return nav;
}

void encodeNavBlock(const NavBlock& nav, PositionForm form, std::uint8_t* b) {
    putI16(b, toI16(nav.pitch_deg * 100));
    putI16(b + 2, toI16(nav.roll_deg * 100));
    putU16(b + 4, toU16(nav.heading_deg * 100));
    b[6] = toU8(nav.year);
    b[7] = toU8(nav.month);
    b[8] = toU8(nav.day);
    b[9] = toU8(nav.hour);
    b[10] = toU8(nav.minute);
    b[11] = toU8(nav.second);
    b[12] = toU8(nav.hundredths);
    if (form == PositionForm::kFloatDegrees) {
        putF32(b + 13, static_cast<float>(nav.longitude_deg));
        putF32(b + 17, static_cast<float>(nav.latitude_deg));
    } else {
        putI32(b + 13, toI32(nav.longitude_deg / kPositionUnit));
        putI32(b + 17, toI32(nav.latitude_deg / kPositionUnit));
    }
    b[21] = toU8(nav.satellites);
    putI16(b + 22, toI16(nav.altitude_m));
    putI16(b + 24, toI16(nav.north_speed_mps / kSpeedUnit_mps));
    putI16(b + 26, toI16(nav.east_speed_mps / kSpeedUnit_mps));
    putI16(b + 28, toI16(nav.ground_speed_mps / kSpeedUnit_mps));
}

void CommandParser::feed(const std::uint8_t* data, std::size_t n, const Sink& sink) {
    m_buffer.insert(m_buffer.end(), data, data + n);
    scan(sink, false);
}

void CommandParser::giveUpPartial(const Sink& sink) { scan(sink, true); }

void CommandParser::reset() { m_buffer.clear(); }

void CommandParser::scan(const Sink& sink, bool final) {
    std::size_t p = 0;
    const auto skip = [&] {
        ++p;
        ++m_counters.skipped_bytes;
    };
    while (p < m_buffer.size()) {
        const std::uint8_t* at = m_buffer.data() + p;
        const std::size_t left = m_buffer.size() - p;
        if (at[0] != kCommandMagic0 || (left > 1 && at[1] != kMagic1)) {
            skip();
            continue;
        }
        // The shortest frame has 7 bytes; 4 tell how long this one is.
        const bool variable = left > 2 && at[2] == kVariableCommandMark;
        std::size_t total = kFixedCommandSize;
        if (variable) {
            total = left > 3 ? static_cast<std::size_t>(at[3]) + 5 : 7;
        }
        if (left < 4 || left < total) {
            if (!final) {
                break;
            }
            skip();
            continue;
        }
        bool good;
        if (variable) {
            good = at[3] >= 2 && xorOf(at + 3, total - 4) == at[total - 1];
        } else {
            good = xorOf(at + 2, 40) == at[42] && at[43] == kTrailer;
        }
        if (!good) {
            ++m_counters.bad_frames;
            skip();
            continue;
        }
        ++m_counters.frames;
        sink(variable ? decodeVariable(at, total) : decodeFixed(at));
        p += total;
    }
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(p));
}

Bytes buildFixedReport(const Report& report) {
    Bytes f(kFixedReportSize);
    f[0] = kReplyMagic0;
    f[1] = kMagic1;
    std::uint8_t* payload = f.data() + 2;
    encodeReportPayload(report, payload);
    putF32(payload + kLongitudeAt, static_cast<float>(report.target_longitude_deg));
    putF32(payload + kLatitudeAt, static_cast<float>(report.target_latitude_deg));
    f[62] = xorOf(payload, kReportPayloadSize);
    f[63] = kTrailer;
    return f;
}

Bytes buildVariableReport(const Report& report) {
    std::uint8_t payload[kReportPayloadSize];
    encodeReportPayload(report, payload);
    putI32(payload + kLongitudeAt, toI32(report.target_longitude_deg / kPositionUnit));
    putI32(payload + kLatitudeAt, toI32(report.target_latitude_deg / kPositionUnit));
    return buildVariableFrame(kReportCode, payload, sizeof payload);
}

Bytes buildVariableFrame(std::uint16_t code, const std::uint8_t* payload, std::size_t n) {
    if (n > kVariableMaxPayload) {
        return {};
    }
    Bytes f(n + 7);
    f[0] = kReplyMagic0;
    f[1] = kMagic1;
    f[2] = kVariableReplyMark;
    f[3] = static_cast<std::uint8_t>(n + 2);
    putU16(f.data() + 4, code);
    std::copy_n(payload, n, f.begin() + 6);
    f[n + 6] = xorOf(f.data() + 3, n + 3);
    return f;
}

Bytes buildInsFrame(const InsState& s) {
    constexpr std::int64_t kGpsEpoch_us = 315964800LL * 1000000;  // 1980-01-06 in UTC since 1970
    constexpr std::int64_t kWeek_us = 7LL * 86400 * 1000000;
    const std::int64_t since = std::max<std::int64_t>(0, s.utc_us - kGpsEpoch_us);
    Bytes f(kInsFrameSize);
    f[0] = 0xAA;
    f[1] = 0x55;
    f[3] = kInsFrameSize;
    std::uint8_t* p = f.data() + 4;
    putU16(p, static_cast<std::uint16_t>(since / kWeek_us));
    putU64(p + 2, static_cast<std::uint64_t>(since % kWeek_us));
    putF32(p + 10, static_cast<float>(s.heading_deg));
    putF32(p + 14, static_cast<float>(s.pitch_deg));
    putF32(p + 18, static_cast<float>(s.roll_deg));
    putI32(p + 22, toI32(s.latitude_deg / kPositionUnit));
    putI32(p + 26, toI32(s.longitude_deg / kPositionUnit));
    putI32(p + 30, toI32(s.altitude_m * 1000));
    putF32(p + 34, static_cast<float>(s.east_mps));
    putF32(p + 38, static_cast<float>(s.north_mps));
    putF32(p + 42, static_cast<float>(s.ground_mps));
    p[50] = toU8(s.satellites_first);
    p[51] = toU8(s.satellites_second);
    const auto sum = [&f] {
        unsigned total = 0;
        for (std::size_t i = 0; i + 1 < kInsFrameSize; ++i) {
            total += f[i];
        }
        return static_cast<std::uint8_t>(total);
    };
    if (sum() == 0) {
        p[46] = 1;  // a byte nobody reads
    }
    f[kInsFrameSize - 1] = sum();
    return f;
}

Bytes buildInterfaceFrame(const NavBlock& nav) {
    Bytes f(kInterfaceFrameSize);
    f[0] = kCommandMagic0;
    f[1] = kMagic1;
    encodeNavBlock(nav, PositionForm::kInteger, f.data() + 7);
    f[42] = xorOf(f.data() + 2, 40);
    f[43] = kTrailer;
    return f;
}

}  // namespace podsim::wire
