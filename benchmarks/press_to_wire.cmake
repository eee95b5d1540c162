# Needs a display: scripts/with_display build/benchmarks/press_to_wire
add_executable(press_to_wire press_to_wire.cpp)
target_link_libraries(press_to_wire PRIVATE station)
