# Tests of viewpoint, manipulator, controls and picker.
if(NOT SORVANE_QT_FREE_ONLY)
  sorvane_test(globe_hand_test
    SOURCES controls_test.cpp earth_manipulator_test.cpp orbit_camera_test.cpp
    LIBS globe)
endif()
