// The tips over the two pictures: which icons they show, and where they float.
#pragma once

class MyTipDialog;
class QWidget;

// A channel as its tip sees it; the fields are the window's.
struct TipChannel {
    MyTipDialog* const& tip;  // null until the window has made it
    const QWidget& picture;
    const bool& open;
    const bool& snapping;
    const bool& recording;
};

// Places the tip over its picture while the channel records or takes snapshots; nothing without a tip or for
// a closed channel. GUI thread.
void placeTip(const TipChannel& channel);
