// Earth files for osgDB::readNodeFile.
#pragma once

namespace globe {

// Once for the process.
void registerEarthReader();

}  // namespace globe
