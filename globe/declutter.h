// Which marks give way where they would cover each other.
#pragma once

#include <cstddef>
#include <vector>

namespace globe {

// Pixels of the window.
struct screen_box {
    float left = 0.0f;
    float bottom = 0.0f;
    float right = 0.0f;
    float top = 0.0f;
};

enum class MarkShown { kNothing, kIcon, kAll };

struct clutter_mark {
    screen_box icon;
    screen_box all;            // icon and label
    bool has_icon = true;      // can be shown without its label
    double priority = 0.0;     // the higher comes first; of equals the nearer, of equally near ones the newer
    double distance_m = 0.0;   // from the eye
    unsigned long serial = 0;  // grows with each mark made
    bool was_shown = true;     // in the frame before
};

// For each mark what there is room for. What was shown before keeps its place against marks up to a tenth
// nearer, so that two whose distances are about equal do not take turns. The work grows with the number of
// marks, as long as they do not lie all in one place.
std::vector<MarkShown> declutter(const std::vector<clutter_mark>& marks);

}  // namespace globe
