# Run by benchmarks/map_goals and benchmarks/picture_latency --globes.
add_executable(station_maps station_maps.cpp)
target_link_libraries(station_maps PRIVATE station)
