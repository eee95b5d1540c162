// Pictures and models of marks, read once in a process.
#pragma once

#include <osg/Node>
#include <osg/StateSet>
#include <osg/ref_ptr>
#include <string>

namespace globe {

// A picture ready to be drawn: the state with its texture in unit 0, and its size in pixels.
struct icon_picture {
    osg::ref_ptr<osg::StateSet> state;
    int width = 0;
    int height = 0;
    // A part of the texture is used where its size had to be a power of two.
    bool valid() const { return state.valid(); }
};

// All may be called from any thread; paths are relative to the working directory or to the readers' search
// path. What cannot be read is told once in the log and is invalid or null from then on.
icon_picture cachedIcon(const std::string& path);
// Shared: to be changed by nobody.
osg::ref_ptr<osg::Node> cachedModel(const std::string& path);

}  // namespace globe
