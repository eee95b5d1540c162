#include "settings/firmware_upgrade.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/bytes.h"

namespace sorvane {
namespace {

constexpr int kModeOffset = 5;
constexpr int kStepHead = 2;  // module, step

// What a frame of the station's carries, its second byte.
enum Step : std::uint8_t { kName = 1, kSize = 2, kProgram = 3 };

// What of the pod's states the station acts on.
enum State : int {
    kNameMatches = 2,
    kFrameTaken = 6,
    kWriting = 8,
    kWritten = 9,
    kSucceeded = 11,
};

}  // namespace

std::int64_t upgradeFrames(std::int64_t bytes) {
    return bytes / kUpgradeFrameBytes + (bytes % kUpgradeFrameBytes != 0 ? 1 : 0);
}

FirmwareUpgrade::FirmwareUpgrade(std::uint16_t& current_frame, FirmwareFile& file,
                                 UpgradeSurroundings surroundings)
    : m_current(current_frame), m_file(file), m_ask(std::move(surroundings)) {}

void FirmwareUpgrade::enterMode() { m_ask.send(kModeCode, {lowByte(m_ask.module() + kModeOffset)}); }

void FirmwareUpgrade::start(const std::string& path) {
    if (path.empty()) {
        return;
    }
    m_ask.silence();
    if (!m_file.reopen()) {
        return;
    }
    // Without a separator the whole path is the name.
    const std::string name = path.substr(path.rfind('/') + 1);
    sendStep(kName, reinterpret_cast<const std::uint8_t*>(name.data()), static_cast<int>(name.size()));
}

void FirmwareUpgrade::onAnswer(const std::uint8_t* data, int size) {
    constexpr int kHead = 2;  // the module's echo, the state
    constexpr int kWithFrame = 4;
    if (size < kHead || (data[1] == kFrameTaken && size < kWithFrame)) {
        return;
    }
    const int state = data[1];
    m_ask.log("zvdbg**state = " + std::to_string(state));
    if (state == kNameMatches) {
        sendSize();
    }
    if (state < kUpgradeStates && state != kFrameTaken) {
        m_ask.told(state);
    }
    // Anew each time: the file may have changed.
    const std::int64_t frames = upgradeFrames(m_file.size());
    if (state == kFrameTaken) {
        m_current = loadU16(data + kHead);
        m_ask.progress(m_current, frames);
    }
    // Before it writes its first frame the pod gets the one where an upgrade before has ended.
    if ((state == kFrameTaken || state == kWriting) && m_current < frames && m_file.isOpen()) {
        sendCurrentFrame();
    }
    if (state == kWritten) {
        m_file.close();
    }
    if (state == kSucceeded) {
        m_current = 0;
        m_ask.succeeded();
    }
}

void FirmwareUpgrade::sendStep(std::uint8_t step, const std::uint8_t* fields, int n) {
    std::vector<std::uint8_t> payload(static_cast<std::size_t>(kStepHead + n));
    payload[0] = lowByte(m_ask.module());
    payload[1] = step;
    std::copy_n(fields, n, payload.begin() + kStepHead);
    m_ask.send(kUpgradeCode, payload);
}

void FirmwareUpgrade::sendSize() {
    const std::int64_t bytes = m_file.size();
    std::array<std::uint8_t, 6> fields{};
    storeU16(fields.data(), static_cast<std::uint16_t>(upgradeFrames(bytes)));
    storeU32(fields.data() + 2, static_cast<std::uint32_t>(bytes));
    sendStep(kSize, fields.data(), static_cast<int>(fields.size()));
}

void FirmwareUpgrade::sendCurrentFrame() {
    constexpr int kNumber = 2;
    std::array<std::uint8_t, kNumber + kUpgradeFrameBytes> fields{};
    storeU16(fields.data(), m_current);
    const int n = m_file.read(std::int64_t{m_current} * kUpgradeFrameBytes, fields.data() + kNumber,
                              kUpgradeFrameBytes);
    m_ask.log("zvdbg**send frame = " + std::to_string(m_current) + ", send size = " +
              std::to_string(kStepHead + kNumber + n) + ", read size = " + std::to_string(n));
    sendStep(kProgram, fields.data(), kNumber + n);
}

}  // namespace sorvane
