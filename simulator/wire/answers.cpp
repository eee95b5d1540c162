#include "simulator/wire/answers.h"

#include <algorithm>
#include <string>

#include "simulator/pod/text.h"
#include "simulator/wire/report.h"

namespace podsim {
namespace {

using wire::Bytes;

constexpr std::uint16_t kDeviceCode = 16, kVersionCode = 17;
constexpr std::uint8_t kAskVersions = 0, kAskDevice = 1, kAskDisplay = 3;

// A frame a text, numbered from 1.
std::vector<Bytes> numbered(std::uint16_t code, const std::vector<std::string>& texts) {
    std::vector<Bytes> frames;
    for (const std::string& text : texts) {
        Bytes payload = {static_cast<std::uint8_t>(frames.size() + 1)};
        payload.insert(payload.end(), text.begin(), text.end());
        frames.push_back(wire::buildVariableFrame(code, payload.data(), payload.size()));
    }
    return frames;
}

std::string versionText(const std::pair<int, int>& version) {
    return formatText("V%d.%d", version.first, version.second);
}

Bytes styleAnswer(const Snapshot& s) {
    const Bytes payload = {1, 4, static_cast<std::uint8_t>(s.osd_style),
                           static_cast<std::uint8_t>(s.osd_style >> 8)};
    return wire::buildVariableFrame(wire::kAnswerCode, payload.data(), payload.size());
}

bool hasPower(int module, const Snapshot& s) {
    constexpr int kInfrared = 1, kVisible = 2, kLaser = 3, kTracker = 6, kServo = 7;
    constexpr int kInfraredBit = 0x01, kVisibleBit = 0x02, kServoBits = 0x1C;
    switch (module) {
        case kInfrared:
            return (s.module_bits & kInfraredBit) != 0;
        case kVisible:
            return (s.module_bits & kVisibleBit) != 0;
        case kLaser:
            return s.laser_on;
        case kTracker:
            return s.tracker_on;
        case kServo:
            return (s.module_bits & kServoBits) != 0;
        default:
            return true;
    }
}

}  // namespace

std::vector<Bytes> answersTo(const Bytes& asked, const Snapshot& s) {
    if (asked.empty()) {
        return {};
    }
    switch (asked[0]) {
        case kAskVersions:
            return numbered(kVersionCode, {"V2.4", "V1.7", versionText(s.firmware_version[0]),
                                           versionText(s.firmware_version[1]), "V1.1"});
        case kAskDevice:
            return numbered(kDeviceCode, {"PS-30", "SIM-0001",
                                          formatText("%d.%d.%d.%d", s.ip[0], s.ip[1], s.ip[2], s.ip[3])});
        case kAskDisplay:
            return {answerTo(asked, s), styleAnswer(s)};
        default: {
            const Bytes answer = answerTo(asked, s);
            return answer.empty() ? std::vector<Bytes>() : std::vector<Bytes>{answer};
        }
    }
}

std::vector<Bytes> moduleAnswers(const Bytes& relayed, const Snapshot& s) {
    constexpr std::size_t kHead = 2, kRun = 64;
    constexpr std::uint8_t kAcknowledged = 0x06;
    // The last module's code is apart from the others, and it answers under a number of its own.
    constexpr int kCommonModules = 13, kLastModule = 20;
    constexpr std::uint8_t kLastAnswers = 21;
    if (relayed.size() < kHead) {
        return {};
    }
    const int module = relayed[0];
    if ((module < 1 || module > kCommonModules) && module != kLastModule) {
        return {};
    }
    if (!hasPower(module, s)) {
        return {};
    }
    Bytes said = {kAcknowledged};
    said.insert(said.end(), relayed.begin() + kHead, relayed.end());
    std::vector<Bytes> frames;
    for (std::size_t from = 0; from < said.size(); from += kRun) {
        Bytes payload = {module == kLastModule ? kLastAnswers : relayed[0], relayed[1]};
        payload.insert(payload.end(), said.begin() + static_cast<std::ptrdiff_t>(from),
                       said.begin() + static_cast<std::ptrdiff_t>(std::min(from + kRun, said.size())));
        frames.push_back(wire::buildVariableFrame(wire::kRelayCode, payload.data(), payload.size()));
    }
    return frames;
}

}  // namespace podsim
