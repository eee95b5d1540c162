// The program's own typeface, and substitutes for those that the texts ask for by name.
#pragma once

#include <QFont>

// For QApplication::setFont(), also before the application object exists: without a size of its own the font
// of that time has none, and texts would stand a pixel high wherever no style sheet gives one.
QFont applicationFont();

// Call once, after the application object exists and before the first window. Where the system has a named
// family it is used as it is.
void installFontSubstitutes();
