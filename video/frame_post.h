// The stream library's end of the road of a picture.
#pragma once

#include <QWidget>

#include "tavrik/tavrik.h"

// Clones each picture into a parcel for that widget and posts it to `window`, which outlives the stream. The
// clone shares the picture's buffers, so the decoder never waits for the screen.
tavrik::FrameCallback frameCallback(QObject* window, QWidget* widget);
