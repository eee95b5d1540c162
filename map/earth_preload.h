// The earth file, read ahead of the maps that show it.
#pragma once

#include <chrono>
#include <osg/Node>
#include <osg/ref_ptr>

// GUI thread but for the reading itself, which has a thread of its own.

// Starts the thread that reads the earth file twice, once a map.
void startEarthPreload();
// The next graph that was read; waits for the whole preload, but not for ever: a read that hangs is left
// behind, and the map is the bare earth that says so. Null when there is no graph: every one has its map.
osg::ref_ptr<osg::Node> takeEarth(std::chrono::milliseconds patience = std::chrono::seconds(20));
// The program closes: no further graph is read, what no map has taken is let go. Waits a second at most; a
// read that hangs is left behind and touches nothing that goes away.
void dropEarthPreload();
