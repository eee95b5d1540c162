sorvane_test(simulator_world_test
  SOURCES world_pod_test.cpp world_servo_test.cpp world_commands_test.cpp world_picture_test.cpp text_test.cpp
  LIBS sim_wire sim_pod
  TIMEOUT 240)
