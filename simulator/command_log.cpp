#include "simulator/command_log.h"

#include <cinttypes>

#include "simulator/pod/text.h"
#include "simulator/wire/commands.h"

namespace podsim {
namespace {

// What the operator does; the aircraft's block changes all the time and is left out.
bool sameCommand(const wire::Command& a, const wire::Command& b) {
    return a.code == b.code && a.payload == b.payload && a.rate_code == b.rate_code &&
           a.rate_azimuth == b.rate_azimuth && a.rate_pitch == b.rate_pitch;
}

// An idle fixed frame has no command; one with a rate is a servo command under the rate's code.
std::string nameOf(const wire::Command& c) {
    if (c.frame == wire::Command::Frame::kVariable || c.code != 0) {
        return wireName(c.code);
    }
    return c.rate_code == wire::kRateCode ? wireName(wire::kRateCode) : "IDLE";
}

std::string fieldsOf(const wire::Command& c, const char* line) {
    const bool fixed = c.frame == wire::Command::Frame::kFixed;
    std::string text =
        formatText("name=%s code=%u frame=%s line=%s raw=%s", nameOf(c).c_str(), c.code,
                   fixed ? "fixed" : "variable", line, toHex(c.raw.data(), c.raw.size()).c_str());
    if (c.code != 0) {
        const std::string payload = describePayload(c.code, c.payload.data(), c.payload.size());
        if (!payload.empty()) {
            text += " " + payload;
        }
    }
    if (fixed && c.rate_code == wire::kRateCode) {
        text += formatText(" rate_az=%d rate_el=%d", c.rate_azimuth, c.rate_pitch);
    }
    return text;
}

// Without its time, which runs.
std::string navText(const wire::NavBlock& n) {
    return formatText("pitch=%.2f roll=%.2f heading=%.2f lat=%.7f lon=%.7f altitude=%.0f satellites=%d",
                      n.pitch_deg, n.roll_deg, n.heading_deg, n.latitude_deg, n.longitude_deg, n.altitude_m,
                      n.satellites) +
           formatText(" north=%.3f east=%.3f ground=%.3f", n.north_speed_mps, n.east_speed_mps,
                      n.ground_speed_mps);
}

}  // namespace

// A line for the first block and for each that differs, its time aside.
void CommandLog::onNav(const wire::Command& c, const char* line) {
    const bool fixed = c.frame == wire::Command::Frame::kFixed;
    const std::string text =
        formatText("frame=%s line=%s ", fixed ? "fixed" : "variable", line) + navText(c.nav);
    if (text == m_nav) {
        return;
    }
    m_nav = text;
    m_log.event("nav",
                text + formatText(" time=%02d-%02d-%02dT%02d:%02d:%02d.%02d", c.nav.year, c.nav.month,
                                  c.nav.day, c.nav.hour, c.nav.minute, c.nav.second, c.nav.hundredths));
}

void CommandLog::closeRun() {
    if (m_running && m_repeats > 0) {
        m_log.event("command-repeated", formatText("name=%s code=%u count=%" PRIu64,
                                                   nameOf(m_current).c_str(), m_current.code, m_repeats));
    }
    m_running = false;
    m_repeats = 0;
}

void CommandLog::onCommand(const wire::Command& c, const char* line) {
    if (!m_log.isOpen()) {
        return;
    }
    if (c.has_nav) {
        onNav(c, line);
    }
    if (c.frame == wire::Command::Frame::kVariable) {
        if (c.code == wire::kNavBlockCode && m_navBlocks++ > 0) {
            return;
        }
        m_log.event("command", fieldsOf(c, line));
        return;
    }
    if (m_running && sameCommand(m_current, c)) {
        ++m_repeats;
        return;
    }
    closeRun();
    m_running = true;
    m_current = c;
    m_log.event("command", fieldsOf(c, line));
}

void CommandLog::finish() {
    closeRun();
    if (m_navBlocks > 1) {
        m_log.event("command-repeated",
                    formatText("name=%s code=%u count=%" PRIu64, wireName(wire::kNavBlockCode),
                               wire::kNavBlockCode, m_navBlocks - 1));
    }
    m_navBlocks = 0;
}

}  // namespace podsim
