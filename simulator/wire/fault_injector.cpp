#include "simulator/wire/fault_injector.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace podsim {
namespace {

// How long a packet waits for another one that could overtake it.
constexpr std::int64_t kReorderWait_ns = 200'000'000;

}  // namespace

double FaultInjector::chance() {
    // 53 bits: the standard's distributions differ between libraries, this does not.
    return static_cast<double>(m_random() >> 11) * (1.0 / 9007199254740992.0);
}

void FaultInjector::queue(Packet packet, std::int64_t due_ns) {
    const auto at = std::upper_bound(m_waiting.begin(), m_waiting.end(), due_ns,
                                     [](std::int64_t t, const Waiting& w) { return t < w.due_ns; });
    m_waiting.insert(at, Waiting{due_ns, std::move(packet)});
}

void FaultInjector::push(Packet packet, std::int64_t now_ns) {
    const bool lost = chance() < m_settings.loss;
    const bool twice = chance() < m_settings.duplicate;
    const bool overtaken = chance() < m_settings.reorder;
    const bool damaged = chance() < m_settings.corrupt;
    const std::uint64_t bit = m_random();
    if (m_settings.silence || lost) {
        return;
    }
    if (damaged && !packet.empty()) {
        const std::uint64_t index = bit % (packet.size() * 8);
        packet[index / 8] = static_cast<std::uint8_t>(packet[index / 8] ^ (1u << (index % 8)));
    }
    const std::int64_t due = now_ns + m_settings.delay_ms * 1'000'000LL;
    if (overtaken && !m_held) {
        m_held = Waiting{due + kReorderWait_ns, std::move(packet)};
        return;
    }
    if (twice) {
        queue(packet, due);
    }
    queue(std::move(packet), due);
    if (m_held) {
        queue(std::move(m_held->packet), due);
        m_held.reset();
    }
}

std::optional<FaultInjector::Packet> FaultInjector::pop(std::int64_t now_ns) {
    if (m_held && m_held->due_ns <= now_ns) {
        queue(std::move(m_held->packet), m_held->due_ns);
        m_held.reset();
    }
    if (m_waiting.empty() || m_waiting.front().due_ns > now_ns) {
        return std::nullopt;
    }
    Packet packet = std::move(m_waiting.front().packet);
    m_waiting.pop_front();
    return packet;
}

std::optional<std::int64_t> FaultInjector::nextDue() const {
    std::optional<std::int64_t> due;
    if (!m_waiting.empty()) {
        due = m_waiting.front().due_ns;
    }
    if (m_held && (!due || m_held->due_ns < *due)) {
        due = m_held->due_ns;
    }
    return due;
}

int PicturePause::restBehind(std::size_t bytes, bool last, const FaultSettings& settings) {
    m_bytes += bytes;
    const bool due = settings.pause_ms > 0 && m_pictures + 1 >= settings.pause_every && !m_rested &&
                     m_bytes >= static_cast<std::size_t>(settings.pause_after) && !last;
    m_rested = m_rested || due;
    if (last) {
        m_pictures = m_rested ? 0 : m_pictures + 1;
        m_rested = false;
        m_bytes = 0;
    }
    return due ? settings.pause_ms : 0;
}

namespace {

// A fault that is a number: its limits, and what a value outside them is told.
struct NumberRow {
    const char* name;
    bool video_alone;
    double low;
    double high;
    const char* refused;
};

const NumberRow kNumbers[] = {
    {"loss", false, 0, 1, "no probability from 0 to 1"},
    {"duplicate", false, 0, 1, "no probability from 0 to 1"},
    {"reorder", false, 0, 1, "no probability from 0 to 1"},
    {"corrupt", false, 0, 1, "no probability from 0 to 1"},
    {"delay", false, 0, 60000, "not 0 to 60000 ms"},
    {"pause", true, 0, 5000, "not 0 to 5000 ms"},
    {"pause-after", true, 1, 10000000, "not 1 to 10000000 bytes"},
    {"pause-every", true, 1, 10000, "not 1 to 10000 pictures"},
};

}  // namespace

std::optional<FaultSwitch> parseFault(const std::string& text, std::string& error) {
    const std::size_t dot = text.find('.');
    const std::size_t equals = text.find('=');
    if (dot == std::string::npos || equals == std::string::npos || equals < dot) {
        error = "expected STREAM.NAME=VALUE, for instance telemetry.loss=0.1";
        return std::nullopt;
    }
    FaultSwitch fault;
    const std::string stream = text.substr(0, dot);
    const std::string value = text.substr(equals + 1);
    fault.name = text.substr(dot + 1, equals - dot - 1);
    if (stream == "telemetry") {
        fault.stream = FaultSwitch::Stream::kTelemetry;
    } else if (stream == "video") {
        fault.stream = FaultSwitch::Stream::kVideo;
        if (fault.name == "stall") {
            fault.name = "silence";
        }
    } else {
        error = "no stream '" + stream + "': telemetry or video";
        return std::nullopt;
    }
    if (fault.name == "silence") {
        if (value != "on" && value != "off") {
            error = "'" + value + "' is neither on nor off";
            return std::nullopt;
        }
        fault.value = value == "on" ? 1 : 0;
        return fault;
    }
    const auto* row = std::find_if(std::begin(kNumbers), std::end(kNumbers),
                                   [&](const NumberRow& r) { return r.name == fault.name; });
    if (row == std::end(kNumbers) || (row->video_alone && fault.stream != FaultSwitch::Stream::kVideo)) {
        error = "no fault '" + fault.name +
                "': loss, duplicate, reorder, corrupt, delay, silence (video: stall, pause, pause-after, "
                "pause-every)";
        return std::nullopt;
    }
    char* end = nullptr;
    fault.value = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0' || !(fault.value >= row->low && fault.value <= row->high)) {
        error = "'" + value + "' is " + row->refused;
        return std::nullopt;
    }
    return fault;
}

void applyFault(const FaultSwitch& fault, FaultSettings& s) {
    if (fault.name == "loss") {
        s.loss = fault.value;
    }
    if (fault.name == "duplicate") {
        s.duplicate = fault.value;
    }
    if (fault.name == "reorder") {
        s.reorder = fault.value;
    }
    if (fault.name == "corrupt") {
        s.corrupt = fault.value;
    }
    if (fault.name == "delay") {
        s.delay_ms = static_cast<int>(fault.value);
    }
    if (fault.name == "silence") {
        s.silence = fault.value > 0;
    }
    if (fault.name == "pause") {
        s.pause_ms = static_cast<int>(fault.value);
    }
    if (fault.name == "pause-after") {
        s.pause_after = static_cast<int>(fault.value);
    }
    if (fault.name == "pause-every") {
        s.pause_every = static_cast<int>(fault.value);
    }
}

std::string describeFaults(const FaultSettings& s) {
    std::string text;
    const auto add = [&text](const char* name, double value) {
        if (value <= 0) {
            return;
        }
        char part[64];
        std::snprintf(part, sizeof part, "%s%s=%g", text.empty() ? "" : " ", name, value);
        text += part;
    };
    add("loss", s.loss);
    add("duplicate", s.duplicate);
    add("reorder", s.reorder);
    add("corrupt", s.corrupt);
    add("delay", s.delay_ms);
    if (s.pause_ms > 0) {
        add("pause", s.pause_ms);
        add("pause-after", s.pause_after);
        add("pause-every", s.pause_every);
    }
    if (s.silence) {
        text += text.empty() ? "silence=on" : " silence=on";
    }
    return text.empty() ? "none" : text;
}

}  // namespace podsim
