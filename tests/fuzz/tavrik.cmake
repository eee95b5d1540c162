sorvane_fuzz(tavrik_annexb_fuzz SOURCES tavrik_fuzz_annexb.cpp LIBS tavrik_core ARGS - max_len = 2000)
    sorvane_fuzz(tavrik_transport_fuzz SOURCES tavrik_fuzz_transport.cpp ${CMAKE_SOURCE_DIR} / tests /
                         tavrik / ts_writer.cpp LIBS tavrik_core ARGS -
                     max_len = 6000)
