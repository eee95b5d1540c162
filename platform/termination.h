// Requests of the system to end the program.
#pragma once

namespace platform {

// From then on SIGTERM, SIGINT and SIGHUP only make the returned descriptor readable, a byte each; one that
// is ignored already (a program started by nohup) stays ignored. The descriptor lives as long as the process.
// -1 where the system asks by other means (Windows tells the windows) or refuses.
int watchTermination();

// A reader of the program's output that goes away costs the output and not the program.
void surviveLostReaders();

}  // namespace platform
