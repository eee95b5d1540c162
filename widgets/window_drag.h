// Moving a window by the system, from a press on a strip that the window draws itself.
#pragma once

class QWidget;

// Hands the top-level window of `widget` to the system's window move, for as long as the button is held. Call
// it from the handler of a press. False when the system refuses; the window then stays where it is.
bool startWindowDrag(QWidget* widget);
