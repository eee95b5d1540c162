# The bare window of benchmarks/start_up: the libraries of the station, whether used or not.
find_package(Qt5 5.15 REQUIRED COMPONENTS X11Extras)
pkg_check_modules(BARE_WINDOW REQUIRED IMPORTED_TARGET sdl2 SDL2_ttf libavformat libavcodec libavutil libswscale)
add_executable(bare_window bare_window.cpp)
target_link_libraries(bare_window PRIVATE sorvane_flags -Wl,--no-as-needed Qt5::Widgets Qt5::Network Qt5::SerialPort
                      Qt5::Multimedia Qt5::X11Extras PkgConfig::BARE_WINDOW)
