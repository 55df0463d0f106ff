# Tests of a library that another build folder holds. One compiler may compile the library, and
# another the tests. Compilers differ much in their time for tests, and little in their time for the library. Both lay out
# classes and functions alike, so that their objects link.

if(NOT EXISTS ${ZRK_BUILT_IN}/ZrkBuilt.cmake)
  message(FATAL_ERROR "${ZRK_BUILT_IN} is no build folder of this project.")
endif()
find_package(PNG REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
include(${ZRK_BUILT_IN}/ZrkBuilt.cmake)
add_library(zrkio_objects ALIAS built::zrkio_objects)
if(TARGET built::zrkio_program)
  add_library(zrkio_program_parts ALIAS built::zrkio_program_parts)
  add_executable(zrkio_program ALIAS built::zrkio_program)
endif()
