set(input_shell_sources input / qmycmdbtn.cpp)
