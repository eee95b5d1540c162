// What both maps and their cameras share about the left button.
#pragma once

// True between a hit of the picker and the release of the left button. GUI thread.
extern bool g_pick_drag;
