// The station's side of a firmware upgrade. The pod leads: each of its answers asks for the next piece, and
// nothing is sent, repeated or given up without one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sorvane {

constexpr std::uint16_t kModeCode = 57;          // with module + 5: prepares the module
constexpr std::uint16_t kUpgradeCode = 12288;    // name, size and frames of the firmware
constexpr std::uint16_t kUpgradeAnswer = 12289;  // what the pod says to them
constexpr int kUpgradeFrameBytes = 128;
constexpr int kUpgradeStates = 14;  // what an answer may tell; others have no text

// The firmware file of the operator's choice. Its operations may be called in any state.
class FirmwareFile {
public:
    virtual ~FirmwareFile() = default;
    // Closes what is open and opens the chosen file for reading; false when it cannot be read.
    virtual bool reopen() = 0;
    virtual bool isOpen() const = 0;
    // Bytes of the file of the last reopen(), whether it is open or not; 0 when there is none.
    virtual std::int64_t size() const = 0;
    // Up to `room` bytes from `at` on; how many there were, 0 at the end or when they cannot be read.
    virtual int read(std::int64_t at, std::uint8_t* to, int room) = 0;
    virtual void close() = 0;
};

// What the upgrade asks of its surroundings. All must be set; called within start() and onAnswer().
struct UpgradeSurroundings {
    std::function<int()> module;    // number of the chosen module, asked anew for each frame
    std::function<void()> silence;  // nothing leaves the station by itself any more
    std::function<void(std::uint16_t code, const std::vector<std::uint8_t>& payload)> send;
    // The pod tells a state that the operator is to read: 0 to 13 but for 6.
    std::function<void(int state)> told;
    // The frame that the pod wants next, of how many.
    std::function<void(int frame, std::int64_t frames)> progress;
    std::function<void()> succeeded;
    std::function<void(const std::string& line)> log;
};

// How many frames carry a file of so many bytes.
std::int64_t upgradeFrames(std::int64_t bytes);

// One thread. File and current frame outlive it.
class FirmwareUpgrade {
public:
    // The number of the current frame is the process's: it outlives a failed upgrade.
    FirmwareUpgrade(std::uint16_t& current_frame, FirmwareFile& file, UpgradeSurroundings surroundings);

    // Asks the module to make ready; the pod wants it twice.
    void enterMode();
    // Begins, or begins again, with the file of that path (Latin-1, parts separated by '/'). Nothing at all
    // happens for an empty one; a file that cannot be opened leaves the line silent and is not told.
    void start(const std::string& path);
    // The data of an answer; one that is shorter than its fields changes nothing.
    void onAnswer(const std::uint8_t* data, int size);

private:
    void sendStep(std::uint8_t step, const std::uint8_t* fields, int n);
    void sendSize();
    void sendCurrentFrame();

    std::uint16_t& m_current;
    FirmwareFile& m_file;
    const UpgradeSurroundings m_ask;
};

}  // namespace sorvane
