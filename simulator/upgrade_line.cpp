#include "simulator/upgrade_line.h"

#include <cstdio>

#include "simulator/pod/text.h"

namespace podsim {

wire::Bytes upgradeFrame(const Upgrade::Answer& answer) {
    constexpr std::uint16_t kCode = 12289;
    wire::Bytes payload = {static_cast<std::uint8_t>(answer.module), static_cast<std::uint8_t>(answer.state)};
    if (answer.frame >= 0) {
        payload.push_back(static_cast<std::uint8_t>(answer.frame));
        payload.push_back(static_cast<std::uint8_t>(answer.frame >> 8));
    }
    return wire::buildVariableFrame(kCode, payload.data(), payload.size());
}

bool writeFlash(const std::string& folder, int module, const std::vector<std::uint8_t>& image) {
    const std::string path = folder + "/module" + std::to_string(module) + ".bin";
    const std::string half = path + ".part";
    FILE* file = std::fopen(half.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(image.data(), 1, image.size(), file) == image.size();
    return std::fclose(file) == 0 && written && std::rename(half.c_str(), path.c_str()) == 0;
}

std::string upgradeConsole(const std::string& line, Pod& pod) {
    constexpr char kFault[] = "upgrade-fault ";
    if (line == "upgrade") {
        const auto version = pod.snapshot().firmware_version;
        return formatText("upgrade %s main=%d.%d servo=%d.%d\n", pod.describeUpgrade().c_str(),
                          version[0].first, version[0].second, version[1].first, version[1].second);
    }
    if (line.compare(0, sizeof kFault - 1, kFault) != 0) {
        return formatText("no command '%s'; help tells them\n", line.c_str());
    }
    if (const auto fault = parseUpgradeFault(line.substr(sizeof kFault - 1))) {
        pod.addUpgradeFault(*fault);
        return {};
    }
    return "upgrade-fault: lost, doubled, late, reordered, silence, flash or state=N, then @FRAME\n";
}

}  // namespace podsim
