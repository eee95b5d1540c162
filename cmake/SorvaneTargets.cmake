# The few functions with which the folders of this project declare their targets.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

find_package(Threads REQUIRED)
if(NOT WIN32)
  find_package(PkgConfig REQUIRED)
endif()

# Flags of our own code; third-party headers come in as system headers.
add_library(sorvane_flags INTERFACE)
target_compile_options(sorvane_flags INTERFACE -Wall -Wextra -Wpedantic -Werror -fno-strict-aliasing)
if(NOT WIN32)
  # -g1: line tables are enough for a back trace with function names, at a fraction of the size.
  target_compile_options(sorvane_flags INTERFACE -g1)
  target_link_options(sorvane_flags INTERFACE -Wl,--build-id)
  find_program(MOLD_PROGRAM mold)
  if(MOLD_PROGRAM)
    target_link_options(sorvane_flags INTERFACE -fuse-ld=mold)
  endif()
else()
  target_link_options(sorvane_flags INTERFACE -static)
endif()
if(SORVANE_SANITIZE)
  target_compile_options(sorvane_flags INTERFACE -fsanitize=${SORVANE_SANITIZE} -fno-sanitize-recover=all
                                                 -fno-omit-frame-pointer)
  target_link_options(sorvane_flags INTERFACE -fsanitize=${SORVANE_SANITIZE})
  target_compile_definitions(sorvane_flags INTERFACE SORVANE_SANITIZED=1)
endif()
if(SORVANE_FUZZ)
  # Coverage for the libraries; the fuzz executables add the engine themselves.
  target_compile_options(sorvane_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

macro(sorvane_find_qt)
  set(CMAKE_AUTOUIC OFF)
  set(CMAKE_AUTORCC OFF)
  find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets Network SerialPort Multimedia Svg LinguistTools Test)
  # The browser runs neither under sanitizers nor under Wine; without it the encoder's page says so.
  if(NOT WIN32 AND NOT SORVANE_SANITIZE)
    find_package(Qt5WebEngineWidgets 5.15 QUIET)
    if(NOT Qt5WebEngineWidgets_FOUND)
      message(WARNING "Qt WebEngine is missing: the station is built without the encoder's web page")
    endif()
  endif()
endmacro()

# Declares one of our libraries; scripts/check_includes reads the same call and holds every include to it, so names
# and files stand in it literally.
#   sorvane_target(NAME
#     MODULE                  a module in the run-time tree's modules/, loaded while the program runs
#     SOURCES a.cpp ...       a header of the same name beside a source belongs to the target too
#     HEADERS b.h ...         headers without such a source
#     LINUX c.cpp ...         sources of one system
#     WINDOWS d.cpp ...
#     LIBS x ...              what the headers need: whoever links this target sees it too
#     PRIVATE_LIBS y ...)     what the sources alone need
# Without sources it is a target of headers. Headers are reached as "folder/name.h" and only by those who link their
# target: each target has an include folder of its own, with links to its headers and nothing else.
function(sorvane_target name)
  cmake_parse_arguments(A "MODULE" "" "SOURCES;HEADERS;LINUX;WINDOWS;LIBS;PRIVATE_LIBS" ${ARGN})
  set(sources ${A_SOURCES})
  if(WIN32)
    list(APPEND sources ${A_WINDOWS})
  else()
    list(APPEND sources ${A_LINUX})
  endif()
  set(headers ${A_HEADERS})
  foreach(source IN LISTS sources)
    string(REGEX REPLACE "\\.cpp$" ".h" header ${source})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${header})
      list(APPEND headers ${header})
    endif()
  endforeach()
  file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(include ${CMAKE_BINARY_DIR}/include/${name})
  file(REMOVE_RECURSE ${include})
  foreach(header IN LISTS headers)
    get_filename_component(place ${include}/${folder}/${header} DIRECTORY)
    file(MAKE_DIRECTORY ${place})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${include}/${folder}/${header} SYMBOLIC)
  endforeach()
  if(sources)
    if(A_MODULE)
      add_library(${name} MODULE ${sources})
      set_target_properties(${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${SORVANE_RUN_DIR}/modules
                                               CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    else()
      add_library(${name} STATIC ${sources})
    endif()
    target_link_libraries(${name} PUBLIC sorvane_flags ${A_LIBS} PRIVATE ${A_PRIVATE_LIBS})
    target_include_directories(${name} PUBLIC ${include})
    if("${A_LIBS};${A_PRIVATE_LIBS}" MATCHES "Qt5::|widgets|events|config|forms|_face")
      list(TRANSFORM headers PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
      target_sources(${name} PRIVATE ${headers})
      set_target_properties(${name} PROPERTIES AUTOMOC ON)
    endif()
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE sorvane_flags ${A_LIBS})
    target_include_directories(${name} INTERFACE ${include})
  endif()
endfunction()

# The tests' own helper headers, as "tests/...".
set(SORVANE_TEST_INCLUDE ${CMAKE_BINARY_DIR}/include/tests)
file(MAKE_DIRECTORY ${SORVANE_TEST_INCLUDE})
file(CREATE_LINK ${CMAKE_SOURCE_DIR}/tests ${SORVANE_TEST_INCLUDE}/tests SYMBOLIC)
add_library(sorvane_test_flags INTERFACE)
target_link_libraries(sorvane_test_flags INTERFACE sorvane_flags)
# What is tested has the preset's optimisation; the tests need none.
target_compile_options(sorvane_test_flags INTERFACE -O1)
# Compiled headers serve only what is compiled alike: SDL's flags have the one, Qt's the other.
target_compile_definitions(sorvane_test_flags INTERFACE _REENTRANT)
if(NOT WIN32)
  target_compile_options(sorvane_test_flags INTERFACE -fPIC)
endif()
target_include_directories(sorvane_test_flags INTERFACE ${SORVANE_TEST_INCLUDE})

# The large headers of others that the tests' own files name are compiled once: tests/CMakeLists.txt declares the two
# targets that hold them. Not for Windows, where each target has definitions of the system's headers of its own.
option(SORVANE_TEST_HEADERS "Compile the large headers of the tests once for all" ON)
function(sorvane_test_headers target headers)
  if(SORVANE_TEST_HEADERS AND TARGET ${headers})
    target_precompile_headers(${target} REUSE_FROM ${headers})
  endif()
endfunction()

# A helper library of the tests: sorvane_test_library(NAME SOURCES a.cpp ... LIBS x ...)
function(sorvane_test_library name)
  cmake_parse_arguments(A "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} STATIC ${A_SOURCES})
  target_link_libraries(${name} PUBLIC sorvane_test_flags ${A_LIBS})
endfunction()

# Under the address sanitizer, what libraries leave behind from their own load is not judged.
function(sorvane_judge_leaks_after_load target)
  if(SORVANE_SANITIZE MATCHES "address")
    target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/tests/load_time_leaks.cpp)
  endif()
endfunction()

# What ctests take of the machine, in halves of a core (ctest's PROCESSORS), of which scripts/test gives out two a core:
#   SHARE half   mostly waits
#   SHARE core   computes; where none is named
#   SHARE most   is judged by when things happen: one that mostly waits may run beside it
# COST s: about how long it takes, where that is long; the longest begin first.
function(sorvane_share_of share cost)  # then the ctests
  if(share STREQUAL "half")
    set(halves 1)
  elseif(share STREQUAL "most")
    set(halves 3)
  else()
    set(halves 2)
  endif()
  set_tests_properties(${ARGN} PROPERTIES PROCESSORS ${halves})
  if(cost)
    set_tests_properties(${ARGN} PROPERTIES COST ${cost})
  endif()
endfunction()

# ${NAME_CTESTS}: the ctests of an executable. With SHARDS n its tests are dealt out to that many, NAME_1of2 and so on, which
# may run side by side: each works in a folder of its own, which stands in the command as @place@.
function(sorvane_add_ctests name shards folder)  # then the command
  set(ctests "")
  if(NOT shards)
    set(ctests ${name})
    string(REPLACE "@place@" ${folder} command "${ARGN}")
    add_test(NAME ${name} COMMAND ${command} WORKING_DIRECTORY ${folder})
  else()
    foreach(number RANGE 1 ${shards})
      set(ctest ${name}_${number}of${shards})
      list(APPEND ctests ${ctest})
      file(MAKE_DIRECTORY ${folder}/${number})
      string(REPLACE "@place@" ${folder}/${number} command "${ARGN}")
      add_test(NAME ${ctest} COMMAND ${command} WORKING_DIRECTORY ${folder}/${number})
      math(EXPR index "${number} - 1")
      set_tests_properties(${ctest} PROPERTIES ENVIRONMENT
        "GTEST_TOTAL_SHARDS=${shards};GTEST_SHARD_INDEX=${index};TEST_TMPDIR=${folder}/${number}")
    endforeach()
  endif()
  set(${name}_CTESTS ${ctests} PARENT_SCOPE)
endfunction()

# Everything with the label unit or net.
add_custom_target(unit_and_net_tests)

# A GoogleTest executable in a folder of its own:
#   sorvane_test(name SOURCES a_test.cpp LIBS x LABELS l TIMEOUT s SHARE half COST s SHARDS n)
# ON_DISPLAY: runs on a display of its own, for what draws without Qt.
# Labels in use: unit (cores), net (sockets, ptys), long (minutes), gui (needs a display), system (programs).
function(sorvane_test name)
  cmake_parse_arguments(A "NO_MAIN;ON_DISPLAY" "TIMEOUT;SHARE;COST;SHARDS" "SOURCES;LIBS;LABELS;ARGS" ${ARGN})
  if(NOT SORVANE_TESTS)
    return()
  endif()
  set(folder ${CMAKE_BINARY_DIR}/tests/${name})
  add_executable(${name} ${A_SOURCES})
  sorvane_judge_leaks_after_load(${name})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder} AUTOMOC OFF)
  if(A_NO_MAIN)
    target_link_libraries(${name} PRIVATE sorvane_test_flags ${A_LIBS} GTest::gtest GTest::gmock)
  else()
    target_link_libraries(${name} PRIVATE sorvane_test_flags ${A_LIBS} GTest::gmock GTest::gtest_main)
  endif()
  sorvane_test_headers(${name} core_test_headers)
  if(NOT A_TIMEOUT)
    set(A_TIMEOUT 120)
  endif()
  if(NOT A_LABELS)
    set(A_LABELS unit)
  endif()
  if("unit" IN_LIST A_LABELS OR "net" IN_LIST A_LABELS)
    add_dependencies(unit_and_net_tests ${name})
  endif()
  set(command ${name})
  if(A_ON_DISPLAY)
    set(command ${CMAKE_SOURCE_DIR}/scripts/with_display $<TARGET_FILE:${name}>)
  endif()
  sorvane_add_ctests(${name} "${A_SHARDS}" ${folder} ${command} ${A_ARGS})
  set(ctests ${${name}_CTESTS})
  set(${name}_CTESTS ${ctests} PARENT_SCOPE)
  set_tests_properties(${ctests} PROPERTIES TIMEOUT ${A_TIMEOUT} LABELS "${A_LABELS}")
  # A sanitizer makes a program several times as slow; what speaks over sockets in real time then wants a core, or both.
  if(SORVANE_SANITIZE AND "net" IN_LIST A_LABELS)
    if(A_SHARE STREQUAL "half")
      set(A_SHARE core)
    else()
      set(A_SHARE most)
    endif()
  endif()
  sorvane_share_of("${A_SHARE}" "${A_COST}" ${ctests})
  if(SORVANE_SANITIZE STREQUAL "thread" AND "net" IN_LIST A_LABELS)
    set_tests_properties(${ctests} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()

# A test of the real station library in a window: runs on a display of its own (Xvfb, window manager, compositor),
# in a folder that has the run-time tree's data beside the program.
#   sorvane_gui_test(name SOURCES a_test.cpp LIBS x TIMEOUT s SHARE half COST s SHARDS n)
function(sorvane_gui_test name)
  cmake_parse_arguments(A "" "TIMEOUT;SHARE;COST;SHARDS" "SOURCES;LIBS" ${ARGN})
  set(folder ${CMAKE_BINARY_DIR}/tests/${name})
  add_executable(${name} ${A_SOURCES})
  sorvane_judge_leaks_after_load(${name})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder})
  target_link_libraries(${name} PRIVATE gui_test_main ${A_LIBS} Qt5::Widgets Qt5::Test GTest::gmock GTest::gtest
                                        sorvane_test_flags)
  sorvane_test_headers(${name} gui_test_headers)
  add_dependencies(${name} run_tree)
  set(places ${folder})
  if(A_SHARDS)
    # Configuration and data lie beside the program.
    foreach(number RANGE 1 ${A_SHARDS})
      list(APPEND places ${folder}/${number})
      add_custom_command(TARGET ${name} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E rm -f ${folder}/${number}/${name}
        COMMAND ${CMAKE_COMMAND} -E create_hardlink $<TARGET_FILE:${name}> ${folder}/${number}/${name})
    endforeach()
  endif()
  foreach(place IN LISTS places)
    file(MAKE_DIRECTORY ${place})
    foreach(data res fonts translations earth)
      file(CREATE_LINK ${SORVANE_RUN_DIR}/${data} ${place}/${data} SYMBOLIC)
    endforeach()
  endforeach()
  if(NOT A_TIMEOUT)
    set(A_TIMEOUT 240)
  endif()
  sorvane_add_ctests(${name} "${A_SHARDS}" ${folder} ${CMAKE_SOURCE_DIR}/scripts/with_display @place@/${name})
  set(ctests ${${name}_CTESTS})
  set(${name}_CTESTS ${ctests} PARENT_SCOPE)
  set_tests_properties(${ctests} PROPERTIES TIMEOUT ${A_TIMEOUT} LABELS gui)
  sorvane_share_of("${A_SHARE}" "${A_COST}" ${ctests})
endfunction()
