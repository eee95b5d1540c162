// Earth files: XML with a map of layers.
#pragma once

#include <string>

#include "globe/earth_model.h"

namespace globe {

// Never fails as a whole: what cannot be used is left out and stands in `problems`, unknown elements in the
// log, a line each. Relative addresses count from `folder`.
EarthModel parseEarth(const std::string& xml, const std::string& folder);
EarthModel readEarthFile(const std::string& path);

}  // namespace globe
