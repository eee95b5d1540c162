sorvane_test(globe_core_test
  SOURCES geodesy_test.cpp height_source_test.cpp load_queue_test.cpp lru_cache_test.cpp sun_position_test.cpp
          tile_selection_test.cpp
  LIBS globe_core)
if(NOT SORVANE_QT_FREE_ONLY)
  pkg_check_modules(GLOBE_TEST_GDAL REQUIRED IMPORTED_TARGET gdal)
  sorvane_test_library(globe_test_support SOURCES offscreen.cpp LIBS globe)
  sorvane_test_library(globe_test_data SOURCES made_data.cpp tile_server.cpp LIBS PkgConfig::GLOBE_TEST_GDAL)
  sorvane_test(globe_layers_test
    SOURCES earth_file_test.cpp earth_log_test.cpp raster_source_test.cpp tile_composer_test.cpp web_layers_test.cpp
            web_tiles_test.cpp
    LIBS globe globe_test_data PkgConfig::GLOBE_TEST_GDAL)
  sorvane_test(globe_render_test
    SOURCES render_test.cpp web_render_test.cpp
    LIBS globe globe_test_support globe_test_data
    LABELS gui
    ON_DISPLAY)
endif()
