# Needs a display: scripts/with_display build/benchmarks/switch_look
add_executable(switch_look switch_look.cpp)
target_link_libraries(switch_look PRIVATE station)
