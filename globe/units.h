// Units in which the size of a mark is given.
#pragma once

namespace globe {

enum class Units { METERS, PIXELS };

}  // namespace globe
