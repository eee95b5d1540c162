# Needs a display: scripts/with_display build/benchmarks/globe_track
add_executable(globe_track globe_track.cpp)
target_link_libraries(globe_track PRIVATE globe sorvane_test_flags)
