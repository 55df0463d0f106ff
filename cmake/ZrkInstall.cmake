# Installation: library, public headers, the CMake package and the pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS zrkio EXPORT ZRKioTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zrkio)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zrkio FILES_MATCHING PATTERN "*.h")
if(ZRK_TOOLS)
  install(TARGETS zrkio_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZRKio)
install(EXPORT ZRKioTargets NAMESPACE ZRKio:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZRKioConfig.cmake.in ${PROJECT_BINARY_DIR}/ZRKioConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZRKioConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZRKioConfig.cmake ${PROJECT_BINARY_DIR}/ZRKioConfigVersion.cmake
  DESTINATION ${package_dir})

# Found from the place of the file itself, so that an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE pc_to_prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zrkio.pc.in ${PROJECT_BINARY_DIR}/zrkio.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zrkio.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The build folder as it is, for tests that are compiled in another one.
set(namespace built::)
if(ZRK_SANITIZE)
  set(namespace sanitized::)
endif()
set(built zrkio zrkio_objects zrk_compile)
if(ZRK_TOOLS)
  list(APPEND built zrkio_program zrkio_program_parts)
endif()
export(TARGETS ${built} NAMESPACE ${namespace} FILE ${PROJECT_BINARY_DIR}/ZrkBuilt.cmake)
