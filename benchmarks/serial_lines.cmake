# Pseudo terminals stand in for lines; needs no display.
if(NOT WIN32)
  add_executable(serial_lines serial_lines.cpp)
  target_link_libraries(serial_lines PRIVATE oskel util)
endif()
