// Makes the globe known to the scene graph's plugin loader.
#pragma once

namespace globe {

// Registers the reader of earth files with osgDB and the drivers with GDAL. Call it before the first
// osgDB::readNodeFile; further calls, from any thread, do nothing.
void initialize();

}  // namespace globe
