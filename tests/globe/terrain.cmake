sorvane_test(globe_core_test
  SOURCES geodesy_test.cpp height_source_test.cpp load_queue_test.cpp lru_cache_test.cpp sun_position_test.cpp
          tile_selection_test.cpp
  LIBS globe_core)
if(NOT SORVANE_QT_FREE_ONLY)
  sorvane_test_library(globe_test_support SOURCES offscreen.cpp LIBS globe)
endif()
