# The pod's streaming side, and the program.

# What needs nothing but the standard library.
sorvane_library(sim_mux SOURCES ts_mux.cpp LIBS sim_wire)

if(NOT WIN32)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(PODSIM_GST REQUIRED IMPORTED_TARGET gio-2.0 gstreamer-1.0 gstreamer-app-1.0 gstreamer-rtsp-server-1.0)
  pkg_check_modules(PODSIM_X264 REQUIRED IMPORTED_TARGET x264)
  pkg_check_modules(PODSIM_X265 REQUIRED IMPORTED_TARGET x265)

  sorvane_library(podsim_stream
    SOURCES event_log.cpp transport.cpp transport_pty.cpp encoder.cpp encoder_x264.cpp encoder_x265.cpp
            rtsp_server.cpp video_output.cpp channel.cpp command_log.cpp control_loop.cpp options.cpp
    LIBS sim_mux sim_wire sim_pod Threads::Threads
    PRIVATE_LIBS PkgConfig::PODSIM_GST PkgConfig::PODSIM_X264 PkgConfig::PODSIM_X265 util)

  add_executable(podsim main.cpp)
  target_link_libraries(podsim PRIVATE podsim_stream)
  set_target_properties(podsim PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${SORVANE_RUN_DIR})
endif()
