# What the desktop does for our windows; included by this folder's CMakeLists.txt.
if(WIN32)
  set(platform_desktop_sources show_directory_windows.cpp window_move_windows.cpp)
  set(platform_desktop_libs user32)
else()
  find_package(X11 REQUIRED)
  set(platform_desktop_sources show_directory_linux.cpp window_move_x11.cpp)
  set(platform_desktop_libs X11::X11)
endif()
