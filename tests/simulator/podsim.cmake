# The pod's wire, streaming and program.
sorvane_test(podsim_wire_test
  SOURCES wire_test.cpp commands_test.cpp fault_injector_test.cpp sei_test.cpp report_test.cpp
  LIBS sim_wire)

if(NOT WIN32)
  pkg_check_modules(PODSIM_TEST_AV REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil)
  sorvane_test(podsim_stream_test
    SOURCES ts_mux_test.cpp encoder_test.cpp transport_test.cpp options_test.cpp event_log_test.cpp
    LIBS sim_control PkgConfig::PODSIM_TEST_AV
    LABELS net)
  sorvane_test(podsim_program_test
    SOURCES program_test.cpp program_video_test.cpp podsim_process.cpp
    LIBS sim_wire PkgConfig::PODSIM_TEST_AV
    LABELS system
    TIMEOUT 240)
  if(SORVANE_TESTS)
    target_compile_definitions(podsim_program_test PRIVATE PODSIM_PROGRAM="$<TARGET_FILE:podsim>")
    add_dependencies(podsim_program_test podsim)
  endif()
endif()
