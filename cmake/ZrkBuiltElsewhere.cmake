# Tests of a library that another build folder holds. One compiler may compile the library, and
# another the tests. Compilers differ much in their time for tests, and little in their time for the library. Both lay out
# classes and functions alike, so that their objects link.

# zrk_take_built(FOLDER TARGET...): the targets of another build folder. CMake counts a precompiled header of objects among
# them, which no linker takes.
macro(zrk_take_built folder)
  if(NOT EXISTS ${folder}/ZrkBuilt.cmake)
    message(FATAL_ERROR "${folder} is no build folder of this project.")
  endif()
  include(${folder}/ZrkBuilt.cmake)
  foreach(target ${ARGN})
    get_target_property(configurations ${target} IMPORTED_CONFIGURATIONS)
    foreach(configuration IN LISTS configurations)
      get_target_property(objects ${target} IMPORTED_OBJECTS_${configuration})
      list(FILTER objects EXCLUDE REGEX "\\.[gp]ch$")
      set_target_properties(${target} PROPERTIES IMPORTED_OBJECTS_${configuration} "${objects}")
    endforeach()
  endforeach()
endmacro()

find_package(PNG REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
zrk_take_built(${ZRK_BUILT_IN} built::zrkio_objects)
add_library(zrkio_objects ALIAS built::zrkio_objects)
if(TARGET built::zrkio_program)
  add_library(zrkio_program_parts ALIAS built::zrkio_program_parts)
  add_executable(zrkio_program ALIAS built::zrkio_program)
endif()
