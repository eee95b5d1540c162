// What a map shows: its coordinate system and its layers.
#pragma once

#include <memory>
#include <osg/Referenced>
#include <string>

#include "globe/spatial_reference.h"

namespace globe {

class LayerStack;

class Map : public osg::Referenced {
public:
    // Without layers.
    explicit Map(std::string name = {});
    explicit Map(std::shared_ptr<LayerStack> layers);

    const std::string& getMapName() const { return m_name; }
    const SpatialReference* getSRS() const { return m_srs; }
    bool isGeocentric() const { return true; }
    const std::shared_ptr<LayerStack>& layers() const { return m_layers; }

protected:
    ~Map() override;

private:
    std::string m_name;
    const SpatialReference* m_srs;
    std::shared_ptr<LayerStack> m_layers;
};

}  // namespace globe
