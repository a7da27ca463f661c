# Installs the library, its headers, a CMake package (Quarn::QuarnNC10) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS QuarnNC10 EXPORT QuarnNC10Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QuarnNC10)

foreach(dir util/utility nc/nc)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${dir}/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QuarnNC10/${dir}
    FILES_MATCHING PATTERN "*.h")
endforeach()

set(QUARN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QuarnNC10)
install(EXPORT QuarnNC10Targets NAMESPACE Quarn:: DESTINATION ${QUARN_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuarnNC10Config.cmake.in
  ${PROJECT_BINARY_DIR}/QuarnNC10Config.cmake INSTALL_DESTINATION ${QUARN_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuarnNC10ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuarnNC10Config.cmake ${PROJECT_BINARY_DIR}/QuarnNC10ConfigVersion.cmake
  DESTINATION ${QUARN_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/QuarnNC10.pc.in ${PROJECT_BINARY_DIR}/QuarnNC10.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QuarnNC10.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
