sorvane_fuzz(control_link_fuzz SOURCES control_link_fuzz.cpp LIBS telemetry_core ARGS -max_len=2500)
sorvane_fuzz(ins_fuzz SOURCES ins_fuzz.cpp LIBS telemetry_core ARGS -max_len=600)
sorvane_fuzz(interface_fuzz SOURCES interface_fuzz.cpp LIBS telemetry_core ARGS -max_len=2500)
sorvane_fuzz(sei_fuzz SOURCES sei_fuzz.cpp LIBS telemetry_core ARGS -max_len=600)
