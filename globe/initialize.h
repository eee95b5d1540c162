// Makes the globe known to the scene graph's plugin loader.
#pragma once

namespace globe {

// Registers the reader of earth files with osgDB, and with GDAL the drivers of what the earth comes with.
// Call it before the first osgDB::readNodeFile; further calls, from any thread, do nothing.
void initialize();

// The drivers of all formats, which take megabytes that few sessions need: for what those of initialize() do
// not know, and for descriptions that may name data of any format. Further calls, from any thread, do
// nothing.
void registerAllDrivers();
bool allDriversRegistered();

}  // namespace globe
