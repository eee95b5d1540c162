# The subsystem's share of the station; paths from the root.
set(telemetry_shell_sources
  telemetry/korvath_injection.cpp
  telemetry/korvath_panels.cpp
  telemetry/korvath_telemetry.cpp
  telemetry/link_callbacks.cpp
  telemetry/status_pages.cpp)
