# Needs a display: scripts/with_display build/benchmarks/stick_to_wire
pkg_check_modules(BENCHMARK_STICK_SDL2 REQUIRED IMPORTED_TARGET sdl2)
add_executable(stick_to_wire stick_to_wire.cpp)
target_link_libraries(stick_to_wire PRIVATE station input_core platform PkgConfig::BENCHMARK_STICK_SDL2)
