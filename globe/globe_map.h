// What a map shows: its coordinate system and its layers.
#pragma once

#include <osg/Referenced>
#include <string>

#include "globe/spatial_reference.h"

namespace globe {

class Map : public osg::Referenced {
public:
    explicit Map(std::string name = {});
    const std::string& getMapName() const { return m_name; }
    const SpatialReference* getSRS() const { return m_srs; }
    bool isGeocentric() const { return true; }

private:
    std::string m_name;
    const SpatialReference* m_srs;
};

}  // namespace globe
