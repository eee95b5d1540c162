// The two pictures as the window lays them out, and their state in words.
#pragma once

#include <QString>

class QSplitter;

// mode: 0 the first picture alone, 1 the second, 2 side by side, 3 one above the other. GUI thread.
void layOutPictures(QSplitter& pictures, int mode);

struct PictureStates {
    bool playing1, playing2;
    bool recording1, recording2;
    int replay;  // 0 none, 1 playing, 2 paused
};
// What the status bar shows of them.
QString pictureStateText(const PictureStates& states);
// Its colour, as the sheets name it: "danger" while recording, "ok" while anything plays, else "warn".
QString pictureStateTone(const PictureStates& states);
