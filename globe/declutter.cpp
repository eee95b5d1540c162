#include "globe/declutter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <unordered_map>

namespace globe {

namespace {

constexpr float kCell_px = 96.0f;
constexpr double kKeepsPlace = 0.9;
// Beyond any window; a box is at most a few cells wide.
constexpr float kFarthest_px = 1e6f;

// What has been placed, by cells of the window.
class Taken {
public:
    bool isFree(const screen_box& box) const {
        bool free = true;
        eachCell(box, [&](std::int64_t cell) {
            const auto found = m_cells.find(cell);
            if (!free || found == m_cells.end()) {
                return;
            }
            free = std::none_of(found->second.begin(), found->second.end(),
                                [&](const screen_box& other) { return overlap(box, other); });
        });
        return free;
    }

    void take(const screen_box& box) {
        eachCell(box, [&](std::int64_t cell) { m_cells[cell].push_back(box); });
    }

private:
    static bool overlap(const screen_box& a, const screen_box& b) {
        return a.left < b.right && b.left < a.right && a.bottom < b.top && b.bottom < a.top;
    }

    static std::int64_t cellOf(float px) {
        return static_cast<std::int64_t>(
            std::floor(std::min(std::max(px, -kFarthest_px), kFarthest_px) / kCell_px));
    }

    template <typename F>
    static void eachCell(const screen_box& box, F&& f) {
        for (std::int64_t y = cellOf(box.bottom); y <= cellOf(box.top); ++y) {
            for (std::int64_t x = cellOf(box.left); x <= cellOf(box.right); ++x) {
                f(y * 1000003 + x);
            }
        }
    }

    std::unordered_map<std::int64_t, std::vector<screen_box>> m_cells;
};

}  // namespace

std::vector<MarkShown> declutter(const std::vector<clutter_mark>& marks) {
    std::vector<std::size_t> order(marks.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    const auto weighed = [](const clutter_mark& mark) {
        return mark.was_shown ? mark.distance_m * kKeepsPlace : mark.distance_m;
    };
    std::sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) {
        const clutter_mark& a = marks[i];
        const clutter_mark& b = marks[j];
        if (a.priority != b.priority) {
            return a.priority > b.priority;
        }
        return weighed(a) != weighed(b) ? weighed(a) < weighed(b) : a.serial > b.serial;
    });
    std::vector<MarkShown> shown(marks.size(), MarkShown::kNothing);
    Taken taken;
    for (const std::size_t i : order) {
        const clutter_mark& mark = marks[i];
        if (taken.isFree(mark.all)) {
            shown[i] = MarkShown::kAll;
            taken.take(mark.all);
        } else if (mark.has_icon && taken.isFree(mark.icon)) {
            shown[i] = MarkShown::kIcon;
            taken.take(mark.icon);
        }
    }
    return shown;
}

}  // namespace globe
