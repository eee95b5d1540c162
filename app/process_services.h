// The one window as everybody reaches it, and services that stand ready.
#pragma once

#include <QString>

class Korvath;

// The one main window, or null until it has been constructed. Any thread.
Korvath* instance();
// Set once by main, before any library thread can start.
void setInstance(Korvath* window);

// Registers the program to start with the operator's session; writes only if the registered path differs.
void setAutoStart(const QString& program_path);
