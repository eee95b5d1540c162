# The simulated world: flight, servo, tracker, scene and pictures.
sorvane_library(podsim_world
  SOURCES calendar.cpp text.cpp world.cpp camera.cpp views.cpp terrain.cpp raster.cpp font.cpp ground.cpp objects.cpp solids.cpp
          palette.cpp osd.cpp renderer.cpp
          flight.cpp servo.cpp tracker.cpp pod.cpp pod_motion.cpp pod_camera.cpp pod_system.cpp)
