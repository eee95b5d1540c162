// The typeface of everything that is written over the globe.
#pragma once

#include <osg/ref_ptr>
#include <osgText/Font>
#include <string>

namespace globe {

// The face in this file, or, for an empty name or a file that cannot be read, the first of: the run-time
// tree's own, faces of the system with Chinese characters, its plain one. Read at the first call of that name
// and shared. Null if there is none at all: texts then fall back to the scene graph's built-in face, which
// has Latin letters alone. Any thread.
osg::ref_ptr<osgText::Font> labelFont(const std::string& path = {});

}  // namespace globe
