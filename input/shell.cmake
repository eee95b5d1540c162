set(input_shell_sources input/qmycmdbtn.cpp input/sbus_control.cpp)
