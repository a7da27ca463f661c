# Installs the library, its public headers, a CMake package (Quarn::QuarnNC10) and a
# pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS QuarnNC10 EXPORT QuarnNC10Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QuarnNC10
  # Also for users whose CMake predates exported header sets (3.23).
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QuarnNC10)
if(TARGET quarnnc)
  install(TARGETS quarnnc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(QUARN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QuarnNC10)
install(EXPORT QuarnNC10Targets NAMESPACE Quarn:: DESTINATION ${QUARN_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuarnNC10Config.cmake.in
  ${PROJECT_BINARY_DIR}/QuarnNC10Config.cmake INSTALL_DESTINATION ${QUARN_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuarnNC10ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuarnNC10Config.cmake ${PROJECT_BINARY_DIR}/QuarnNC10ConfigVersion.cmake
  DESTINATION ${QUARN_CMAKE_DIR})

# A static library brings its thread library along and tells its users it is static.
set(QUARN_PC_LIBS_PRIVATE "")
set(QUARN_PC_CFLAGS "")
if(QUARN_NC_LIBRARY_TYPE STREQUAL STATIC)
  set(QUARN_PC_LIBS_PRIVATE "${CMAKE_THREAD_LIBS_INIT}")
  set(QUARN_PC_CFLAGS " -DQUARN_NC_STATIC")
endif()
# The prefix relative to the .pc file, so that the installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE QUARN_PC_PREFIX)
configure_file(${PROJECT_SOURCE_DIR}/cmake/QuarnNC10.pc.in ${PROJECT_BINARY_DIR}/QuarnNC10.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QuarnNC10.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
