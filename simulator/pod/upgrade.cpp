#include "simulator/pod/upgrade.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

#include "simulator/pod/text.h"

namespace podsim {
namespace {

constexpr double kErasing_s = 0.3, kSettling_s = 0.1, kChecking_s = 0.2;
constexpr double kPatience_s = 1;  // then it asks again
constexpr int kMostAsked = 20;     // then it gives up
constexpr double kLate_s = 1.5;    // of an answer that is late: it has asked again meanwhile

enum Step : std::uint8_t { kName = 1, kSize = 2, kProgram = 3 };

enum State : int {
    kReady = 0,
    kNameWrong = 1,
    kNameRight = 2,
    kSizeWrong = 3,
    kSizeRight = 4,
    kFrameFailed = 5,
    kFrameTaken = 6,
    kErases = 7,
    kWrites = 8,
    kChecks = 9,
    kCheckFailed = 10,
    kSucceeded = 11,
    kOutOfOrder = 12,
    kContentWrong = 13,
};

// What stands for a character that the name's encoding does not know is no part of a name.
bool nameFits(const std::uint8_t* name, std::size_t n) {
    constexpr char kEnding[] = ".bin";
    constexpr std::size_t kEndingSize = sizeof kEnding - 1;
    const bool plain = std::none_of(name, name + n, [](std::uint8_t c) { return c < 0x20 || c == '?'; });
    return plain && n > kEndingSize &&
           std::equal(kEnding, kEnding + kEndingSize, name + n - kEndingSize,
                      [](char a, std::uint8_t b) { return a == std::tolower(b); });
}

std::uint32_t littleEndian(const std::uint8_t* p, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        value |= static_cast<std::uint32_t>(p[i]) << (8 * i);
    }
    return value;
}

// A flash that was erased and nothing else is no program.
bool blank(const std::vector<std::uint8_t>& image) {
    return !image.empty() &&
           std::all_of(image.begin(), image.end(), [](std::uint8_t b) { return b == 0xFF; });
}

}  // namespace

std::uint32_t crc32(std::uint32_t before, const std::uint8_t* data, std::size_t n) {
    // Half a byte at a time; by its value.
    static constexpr std::array<std::uint32_t, 16> kSteps = {
        0x00000000, 0x1DB71064, 0x3B6E20C8, 0x26D930AC, 0x76DC4190, 0x6B6B51F4, 0x4DB26158, 0x5005713C,
        0xEDB88320, 0xF00F9344, 0xD6D6A3E8, 0xCB61B38C, 0x9B64C2B0, 0x86D3D2D4, 0xA00AE278, 0xBDBDF21C};
    std::uint32_t crc = ~before;
    for (std::size_t i = 0; i < n; ++i) {
        crc = crc >> 4U ^ kSteps[(crc ^ data[i]) & 0xFU];
        crc = crc >> 4U ^ kSteps[(crc ^ static_cast<std::uint32_t>(data[i] >> 4U)) & 0xFU];
    }
    return ~crc;
}

std::optional<UpgradeFault> parseUpgradeFault(const std::string& text) {
    using Kind = UpgradeFault::Kind;
    constexpr std::pair<const char*, Kind> kKinds[] = {
        {"lost", Kind::kLost},           {"doubled", Kind::kDoubled}, {"late", Kind::kLate},
        {"reordered", Kind::kReordered}, {"silence", Kind::kSilence}, {"flash", Kind::kFlash},
    };
    const auto number = [](const std::string& digits, int most) -> std::optional<int> {
        if (digits.empty() || digits.size() > 5 ||
            digits.find_first_not_of("0123456789") != std::string::npos || std::stoi(digits) > most) {
            return std::nullopt;
        }
        return std::stoi(digits);
    };
    const std::size_t at = text.find('@');
    const auto frame = at == std::string::npos ? std::nullopt : number(text.substr(at + 1), 65534);
    if (!frame) {
        return std::nullopt;
    }
    const std::string kind = text.substr(0, at);
    constexpr char kState[] = "state=";
    if (kind.compare(0, sizeof kState - 1, kState) == 0) {
        const auto state = number(kind.substr(sizeof kState - 1), 255);
        return state ? std::optional<UpgradeFault>({Kind::kState, *frame, *state}) : std::nullopt;
    }
    for (const auto& [name, value] : kKinds) {
        if (kind == name) {
            return UpgradeFault{value, *frame, 0};
        }
    }
    return std::nullopt;
}

void Upgrade::enter(int module) {
    if (module < 0 || module >= kModules) {
        return;
    }
    constexpr int kTold = 2;
    int& entered = m_entered[static_cast<std::size_t>(module)];
    entered = std::min(entered + 1, kTold);
    if (entered == kTold) {
        m_mute = false;
        leave({module, kReady});
    }
}

void Upgrade::take(const std::uint8_t* data, std::size_t n) {
    if (n < 2 || data[0] >= kModules) {
        return;
    }
    const int module = data[0];
    const std::uint8_t* fields = data + 2;
    const std::size_t left = n - 2;
    if (data[1] == kName) {
        takeName(module, fields, left);
    } else if (data[1] == kSize) {
        takeSize(module, fields, left);
    } else if (data[1] == kProgram) {
        takeFrame(module, fields, left);
    }
}

void Upgrade::takeName(int module, const std::uint8_t* name, std::size_t n) {
    m_mute = false;
    m_heldBack.clear();
    m_late.clear();
    if (m_entered[static_cast<std::size_t>(module)] < 2) {
        leave({module, kOutOfOrder});
        return;
    }
    m_module = module;
    const bool fits = nameFits(name, n);
    m_phase = fits ? Phase::kNamed : Phase::kIdle;
    answer(fits ? kNameRight : kNameWrong);
}

void Upgrade::takeSize(int module, const std::uint8_t* fields, std::size_t n) {
    if (m_phase != Phase::kNamed || module != m_module) {
        leave({module, kOutOfOrder});
        return;
    }
    constexpr std::size_t kFields = 6;
    const std::uint32_t frames = n == kFields ? littleEndian(fields, 2) : 0;
    m_bytes = n == kFields ? littleEndian(fields + 2, 4) : 0;
    if (n != kFields || m_bytes > kFlashBytes || frames != (m_bytes + kFrameBytes - 1) / kFrameBytes) {
        m_phase = Phase::kIdle;
        answer(kSizeWrong);
        return;
    }
    m_frames = static_cast<int>(frames);
    m_wanted = 0;
    m_sum = 0;
    m_staged[static_cast<std::size_t>(m_module)].reset();
    image().clear();
    m_phase = Phase::kErasing;
    m_wait_s = kErasing_s;
    answer(kSizeRight);
    answer(kErases);
}

void Upgrade::takeFrame(int module, const std::uint8_t* fields, std::size_t n) {
    const int number = n >= 2 ? static_cast<int>(littleEndian(fields, 2)) : -1;
    // One that was taken before and came late.
    const bool known = module == m_module && number >= 0 && number < m_wanted;
    const bool begun = m_phase != Phase::kIdle && m_phase != Phase::kNamed && module == m_module;
    if (!begun && !known) {
        leave({module, kOutOfOrder});
    }
    if (!begun) {
        return;
    }
    // What came late or twice has nothing to say while the flash is erased or checked, and neither has the
    // frame that was taken just now: what follows from it is asked for already.
    m_quiet_s = 0;
    if (m_phase != Phase::kWriting || number == m_wanted - 1) {
        return;
    }
    const std::size_t rest = m_bytes - static_cast<std::uint32_t>(m_wanted) * kFrameBytes;
    if (number != m_wanted) {
        ask();
    } else if (n - 2 != std::min<std::size_t>(rest, kFrameBytes)) {
        answer(kFrameFailed);
        ask();
    } else {
        writeFrame(fields + 2, n - 2);
    }
}

void Upgrade::writeFrame(const std::uint8_t* program, std::size_t n) {
    m_sum = crc32(m_sum, program, n);
    image().insert(image().end(), program, program + n);
    const int taken = m_wanted++;
    m_asked = 0;
    m_quiet_s = 0;
    if (m_wanted == m_frames) {
        m_phase = Phase::kWritten;
        m_wait_s = kSettling_s;
    }
    answerFrame(taken);
}

void Upgrade::ask() {
    m_quiet_s = 0;
    if (++m_asked > kMostAsked) {
        m_phase = Phase::kIdle;
        answer(kFrameFailed);
        return;
    }
    answer(kFrameTaken, m_wanted);
}

void Upgrade::step(double dt_s) {
    for (auto late = m_late.begin(); late != m_late.end();) {
        late->left_s -= dt_s;
        if (late->left_s > 0) {
            ++late;
            continue;
        }
        leave(late->answer);
        late = m_late.erase(late);
    }
    m_wait_s -= dt_s;
    if (m_phase == Phase::kWriting) {
        m_quiet_s += dt_s;
        if (m_quiet_s >= kPatience_s) {
            ask();
        }
    } else if (m_phase == Phase::kErasing && m_wait_s <= 0) {
        m_phase = m_frames > 0 ? Phase::kWriting : Phase::kWritten;
        m_wait_s = kSettling_s;
        m_quiet_s = 0;
        m_asked = 0;
        answer(kWrites);
    } else if (m_phase == Phase::kWritten && m_wait_s <= 0) {
        m_phase = Phase::kChecking;
        m_wait_s = kChecking_s;
        answer(kChecks);
    } else if (m_phase == Phase::kChecking && m_wait_s <= 0) {
        finish();
    }
}

void Upgrade::finish() {
    m_phase = Phase::kIdle;
    const std::size_t module = static_cast<std::size_t>(m_module);
    if (crc32(0, image().data(), image().size()) != m_sum) {
        answer(kCheckFailed);
    } else if (blank(image())) {
        answer(kContentWrong);
    } else {
        m_staged[module] = Firmware{m_running[module].major, m_running[module].minor + 1, image()};
        answer(kSucceeded);
    }
}

bool Upgrade::restart() {
    m_phase = Phase::kIdle;
    m_entered = {};
    m_late.clear();
    m_heldBack.clear();
    bool changed = false;
    for (std::size_t module = 0; module < m_staged.size(); ++module) {
        if (m_staged[module]) {
            m_running[module] = std::move(*m_staged[module]);
            m_staged[module].reset();
            changed = true;
        }
    }
    return changed;
}

void Upgrade::answer(int state, int frame) { leave({m_module, state, frame}); }

std::optional<UpgradeFault> Upgrade::faultAt(int frame) {
    const auto found = std::find_if(m_faults.begin(), m_faults.end(),
                                    [frame](const UpgradeFault& f) { return f.frame == frame; });
    if (found == m_faults.end()) {
        return std::nullopt;
    }
    const UpgradeFault fault = *found;
    m_faults.erase(found);
    return fault;
}

void Upgrade::answerFrame(int taken) {
    using Kind = UpgradeFault::Kind;
    const Answer good = {m_module, kFrameTaken, m_wanted};
    const auto fault = faultAt(taken);
    if (!fault) {
        leave(good);
        return;
    }
    switch (fault->kind) {
        case Kind::kLost:
            break;
        case Kind::kDoubled:
            leave(good);
            leave(good);
            break;
        case Kind::kLate:
            m_late.push_back({kLate_s, good});
            break;
        case Kind::kReordered:
            m_heldBack.push_back(good);
            break;
        case Kind::kState:
            leave({m_module, fault->state, fault->state == kFrameTaken ? m_wanted : -1});
            break;
        case Kind::kSilence:
            m_mute = true;
            break;
        case Kind::kFlash:
            image().back() ^= 1U;
            leave(good);
            break;
    }
}

void Upgrade::leave(const Answer& answer) {
    if (m_mute) {
        return;
    }
    m_answers.push_back(answer);
    m_answers.insert(m_answers.end(), m_heldBack.begin(), m_heldBack.end());
    m_heldBack.clear();
}

std::vector<Upgrade::Answer> Upgrade::takeAnswers() { return std::exchange(m_answers, {}); }

std::string Upgrade::describe() const {
    constexpr const char* kWords[] = {"idle", "named", "erasing", "writing", "written", "checking"};
    return formatText("%s %d/%d", kWords[static_cast<std::size_t>(m_phase)], m_wanted, m_frames);
}

}  // namespace podsim
