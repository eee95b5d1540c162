# Tests of viewpoint, manipulator, controls and picker.
if(NOT SORVANE_QT_FREE_ONLY)
  sorvane_test(globe_hand_test
    SOURCES controls_test.cpp earth_manipulator_test.cpp object_index_test.cpp orbit_camera_test.cpp pixel_ratio_test.cpp
            sight_test.cpp
    LIBS globe)
  # Without anything that could draw.
  sorvane_test(globe_bare_view_test
    SOURCES bare_view_test.cpp
    LIBS globe_view
    NO_MAIN)
  find_package(X11 REQUIRED)
  pkg_check_modules(GLOBE_TEST_SDL REQUIRED IMPORTED_TARGET sdl2)
  sorvane_gui_test(globe_view_gui_test
    SOURCES graphics_window_gui_test.cpp view_scene_gui_test.cpp ${CMAKE_SOURCE_DIR}/tests/widgets/x11_pointer.cpp
    LIBS globe_view PkgConfig::GLOBE_TEST_SDL X11::Xtst X11::X11)
endif()
