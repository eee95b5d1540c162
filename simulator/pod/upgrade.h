// The pod's side of a firmware upgrade: it leads, keeps what it is given in a flash of its own, checks it,
// and runs it after the next restart.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace podsim {

// Something goes wrong with the answer to one program frame, once.
struct UpgradeFault {
    enum class Kind {
        kLost,       // the answer does not leave
        kDoubled,    // it leaves twice
        kLate,       // it leaves when the pod has long asked again
        kReordered,  // it leaves behind the next one
        kState,      // another state leaves in its place
        kSilence,    // nothing leaves any more until an upgrade begins anew
        kFlash,      // a bit of the frame is wrong in the flash
    };
    Kind kind = Kind::kLost;
    int frame = 0;  // the number of the frame that is answered
    int state = 0;  // with kState
};

// "KIND@FRAME" with lost, doubled, late, reordered, silence, flash or state=N (0 to 255). No value when it is
// none.
std::optional<UpgradeFault> parseUpgradeFault(const std::string& text);

// Two modules, one upgrade at a time. Knows no clock: time passes by step() alone. Not locked.
class Upgrade {
public:
    static constexpr int kModules = 2;  // 0 main control, 1 servo
    static constexpr int kFrameBytes = 128;
    // The number of a frame has 16 bits, so this is all that can be asked for.
    static constexpr std::uint32_t kFlashBytes = 65535U * kFrameBytes;

    struct Answer {
        int module;
        int state;       // 0 to 13 unless a fault says otherwise
        int frame = -1;  // the frame wanted next; -1: the answer has none
    };
    struct Firmware {
        int major = 1;
        int minor = 0;
        std::vector<std::uint8_t> image;  // empty for the one that was there from the start
    };

    // The module makes ready for an upgrade; it wants to be told twice.
    void enter(int module);
    // A frame of the station's: module, step, and what belongs to the step.
    void take(const std::uint8_t* data, std::size_t n);
    void step(double dt_s);
    // The firmware that has passed its check runs from now on. True when there was one.
    bool restart();

    void addFault(const UpgradeFault& fault) { m_faults.push_back(fault); }
    // What leaves now, in order; each is given once.
    std::vector<Answer> takeAnswers();
    // What the module's flash holds: of the upgrade under way, or of the last that passed its check.
    const std::vector<std::uint8_t>& flash(int module) const {
        return m_flash.at(static_cast<std::size_t>(module));
    }
    const Firmware& running(int module) const { return m_running.at(static_cast<std::size_t>(module)); }
    // Words for the log: "idle", "writing 17/200".
    std::string describe() const;

private:
    enum class Phase { kIdle, kNamed, kErasing, kWriting, kWritten, kChecking };

    struct Late {
        double left_s;
        Answer answer;
    };

    void takeName(int module, const std::uint8_t* name, std::size_t n);
    void takeSize(int module, const std::uint8_t* fields, std::size_t n);
    void takeFrame(int module, const std::uint8_t* fields, std::size_t n);
    void writeFrame(const std::uint8_t* program, std::size_t n);
    void ask();
    void finish();
    void answer(int state, int frame = -1);
    void answerFrame(int taken);
    void leave(const Answer& answer);
    std::optional<UpgradeFault> faultAt(int frame);
    std::vector<std::uint8_t>& image() { return m_flash[static_cast<std::size_t>(m_module)]; }

    Phase m_phase = Phase::kIdle;
    int m_module = 0;
    std::uint32_t m_bytes = 0;
    int m_frames = 0;
    int m_wanted = 0;
    std::uint32_t m_sum = 0;  // of the program as it came
    double m_wait_s = 0;      // until the phase goes on
    double m_quiet_s = 0;     // since the last frame that came or was asked for
    int m_asked = 0;          // again, since the last frame that was right
    bool m_mute = false;

    std::array<int, kModules> m_entered{};  // times the module was told to make ready
    std::array<std::vector<std::uint8_t>, kModules> m_flash;
    std::array<std::optional<Firmware>, kModules> m_staged;
    std::array<Firmware, kModules> m_running{{{1, 2, {}}, {1, 0, {}}}};

    std::list<UpgradeFault> m_faults;
    std::vector<Answer> m_answers;
    std::vector<Answer> m_heldBack;  // until the next one has left
    std::list<Late> m_late;
};

// CRC-32 of n bytes, going on from `before`.
std::uint32_t crc32(std::uint32_t before, const std::uint8_t* data, std::size_t n);

}  // namespace podsim
