# Needs a display: scripts/with_display build/benchmarks/plot_refresh
add_executable(plot_refresh plot_refresh.cpp)
target_link_libraries(plot_refresh PRIVATE station Qt5::Network)
add_executable(log_flush log_flush.cpp)
target_link_libraries(log_flush PRIVATE telemetry config Qt5::Core)
# Run by picture_latency --plotting.
add_executable(station_plotting station_plotting.cpp)
target_link_libraries(station_plotting PRIVATE station)
