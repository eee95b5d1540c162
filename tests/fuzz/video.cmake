sorvane_fuzz(block_fuzz SOURCES block_fuzz.cpp LIBS video_core ARGS -max_len=6000)
