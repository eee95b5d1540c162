// The typeface of everything that is written over the globe.
#pragma once

#include <osg/ref_ptr>
#include <osgText/Font>
#include <string>

namespace globe {

// A face with Chinese characters, read at the first call and shared: the file named by setLabelFontFile(),
// else the run-time tree's, else one of the system's usual ones. Null if there is none: texts then fall back
// to the scene graph's built-in face, which has Latin letters alone. For the thread that draws.
osg::ref_ptr<osgText::Font> labelFont();

// Before the first label is made.
void setLabelFontFile(const std::string& path);

}  // namespace globe
