// Requests from outside to end the program.
#pragma once

class QWidget;

// Closes `window` as its close button does, and ends the event loop, when the system asks the program to end
// (SIGTERM, SIGINT, SIGHUP); closes it also when the operator's session ends. Once a process, on the GUI
// thread; the window outlives the application's last event.
void closeOnRequests(QWidget& window);
