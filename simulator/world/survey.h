// The landscape as a map shows it: from straight above, by daylight, without what passes.
#pragma once

#include "simulator/world/raster.h"

namespace podsim {

// One period of the landscape, its origin in the middle, north up; `pixels` a side, a multiple of 16. What
// stands on the ground leans outward from the middle of its sheet, an eighth of the side wide, by at most a
// tenth of its height.
I420Image surveyImage(int pixels);

}  // namespace podsim
