sorvane_test(globe_marks_core_test
  SOURCES drape_volume_test.cpp geo_interpolation_test.cpp marks_core_test.cpp
  LIBS globe_core)
