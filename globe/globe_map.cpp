#include "globe/globe_map.h"

#include <utility>

namespace globe {

Map::Map(std::string name) : m_name(std::move(name)), m_srs(SpatialReference::get("wgs84")) {}

}  // namespace globe
