// How much each point of a line matters.
#pragma once

#include <vector>

#include "globe/geodesy.h"

namespace globe {

// For each point the tolerance in metres up to which it has to stay: a line of those points alone whose
// figure exceeds a tolerance stays within that tolerance of the whole. Ends have an infinite figure. After
// the method of Douglas and Peucker; points are in any frame in metres.
std::vector<double> pointWeights(const std::vector<Xyz>& points);

}  // namespace globe
