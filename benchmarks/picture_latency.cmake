# The poller of benchmarks/picture_latency; that script runs it.
add_executable(picture_latency_probe picture_latency_probe.cpp)
target_link_libraries(picture_latency_probe PRIVATE sorvane_flags)
