# The simulated pod: servo, tracker and pictures.
sorvane_library(podsim_world
  SOURCES calendar.cpp text.cpp views.cpp palette.cpp osd.cpp renderer.cpp servo.cpp tracker.cpp
          pod.cpp pod_motion.cpp pod_camera.cpp pod_system.cpp
  LIBS sim_world)
