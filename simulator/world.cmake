# The simulated world: flight, servo, tracker, scene and pictures.
sorvane_library(podsim_world
  SOURCES time.cpp)
