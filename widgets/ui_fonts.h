// Substitutes for the typefaces that the texts ask for by name.
#pragma once

// Call once, after the application object exists and before the first window. Where the system has a named
// family it is used as it is.
void installFontSubstitutes();
