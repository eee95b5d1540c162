sorvane_test(globe_marks_core_test
  SOURCES drape_volume_test.cpp geo_interpolation_test.cpp marks_core_test.cpp
  LIBS globe_core)
if(NOT SORVANE_QT_FREE_ONLY)
  sorvane_test(globe_styles_test
    SOURCES drivers_test.cpp styles_test.cpp
    LIBS globe)
  sorvane_test(globe_marks_on_globe_test
    SOURCES marks_on_globe_test.cpp
    LIBS globe globe_test_support globe_test_data
    LABELS gui
    ON_DISPLAY)
  sorvane_gui_test(globe_draped_gui_test
    SOURCES draped_gui_test.cpp
    LIBS globe)
  sorvane_gui_test(globe_lines_gui_test
    SOURCES lines_gui_test.cpp
    LIBS globe)
  sorvane_gui_test(globe_places_gui_test
    SOURCES places_gui_test.cpp
    LIBS globe)
endif()
