# Its cameras are those of the tests.
if(TARGET stream_cycles_support)
  find_package(GTest REQUIRED)
  add_executable(stream_cycles stream_cycles.cpp)
  target_link_libraries(stream_cycles PRIVATE stream_cycles_support GTest::gtest)
endif()
