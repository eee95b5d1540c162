# The simulated world: flight, servo, tracker, scene and pictures.
sorvane_library(podsim_world
  SOURCES time.cpp world.cpp camera.cpp terrain.cpp raster.cpp font.cpp ground.cpp objects.cpp solids.cpp
          palette.cpp osd.cpp renderer.cpp)
