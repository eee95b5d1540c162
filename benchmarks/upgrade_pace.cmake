# Needs a display: scripts/with_display build/benchmarks/upgrade_pace
add_executable(upgrade_pace upgrade_pace.cpp)
target_link_libraries(upgrade_pace PRIVATE station)
target_compile_definitions(upgrade_pace PRIVATE SORVANE_PODSIM="${SORVANE_RUN_DIR}/podsim")
add_dependencies(upgrade_pace podsim)
