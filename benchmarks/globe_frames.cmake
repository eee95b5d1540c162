# Needs a display: scripts/with_display build/benchmarks/globe_frames
find_package(OpenGL REQUIRED COMPONENTS OpenGL)
add_executable(globe_frames globe_frames.cpp)
target_link_libraries(globe_frames PRIVATE globe OpenGL::OpenGL sorvane_flags)
