# Needs a display: scripts/with_display build/benchmarks/picture_drawing
pkg_check_modules(DRAWING_AV REQUIRED IMPORTED_TARGET libavutil)
add_executable(picture_drawing picture_drawing.cpp)
target_link_libraries(picture_drawing PRIVATE video config PkgConfig::DRAWING_AV Qt5::Widgets)
