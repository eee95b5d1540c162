sorvane_test(globe_core_test
  SOURCES geodesy_test.cpp
  LIBS globe_core)
