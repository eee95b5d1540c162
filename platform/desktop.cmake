# What the desktop does for our windows; included by this folder's CMakeLists.txt.
if(WIN32)
  set(platform_desktop_sources autostart_windows.cpp graphics_windows.cpp show_directory_windows.cpp
      window_move_windows.cpp)
  set(platform_desktop_libs user32 advapi32)
else()
  find_package(X11 REQUIRED)
  pkg_check_modules(PLATFORM_SDL2 REQUIRED IMPORTED_TARGET sdl2)
  set(platform_desktop_sources autostart_linux.cpp graphics_linux.cpp show_directory_linux.cpp window_move_x11.cpp)
  set(platform_desktop_libs X11::X11 PkgConfig::PLATFORM_SDL2)
endif()
