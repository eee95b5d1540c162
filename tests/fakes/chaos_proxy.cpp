#include "tests/fakes/chaos_proxy.h"

namespace chaos {

// SplitMix64: the same on every system, unlike the distributions of the standard library.
std::uint64_t Dice::draw() {
    m_state += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = m_state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
}

bool Dice::happens(double probability) {
    constexpr double scale = 1.0 / 9007199254740992.0;  // 2^-53
    return static_cast<double>(draw() >> 11) * scale < probability;
}

std::size_t Dice::below(std::size_t limit) { return static_cast<std::size_t>(draw() % limit); }

Fate Dice::next(const Faults& faults, std::size_t size) {
    Fate fate;
    fate.lost = happens(faults.loss);
    fate.duplicated = happens(faults.duplication);
    fate.held_back = happens(faults.reordering);
    const bool corrupted = happens(faults.corruption);
    const std::size_t bit = below(size > 0 ? size * 8 : 1);
    if (corrupted && size > 0) {
        fate.flipped_bit = static_cast<int>(bit);
    }
    return fate;
}

}  // namespace chaos
