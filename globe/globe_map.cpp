#include "globe/globe_map.h"

#include <utility>

#include "globe/layer_stack.h"

namespace globe {

Map::Map(std::string name)
    : m_name(std::move(name)),
      m_srs(SpatialReference::get("wgs84")),
      m_layers(std::make_shared<LayerStack>(EarthModel())) {}

Map::Map(std::shared_ptr<LayerStack> layers)
    : m_name(layers->name()), m_srs(SpatialReference::get("wgs84")), m_layers(std::move(layers)) {}

Map::~Map() = default;

}  // namespace globe
