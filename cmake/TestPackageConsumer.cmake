# Installs the built library into a scratch prefix and builds and runs the consumer project
# against it through find_package(QuarnNC10), as a user of the package would.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
  RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${WORK_DIR}/build -G Ninja
    -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DCMAKE_BUILD_TYPE=Release
    # A sanitized library needs a sanitized program.
    "-DCMAKE_CXX_FLAGS=${CONSUMER_CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${CONSUMER_LINKER_FLAGS}"
  RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "configuring the consumer failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "building the consumer failed")
endif()
execute_process(COMMAND ${WORK_DIR}/build/quarn-consumer RESULT_VARIABLE result OUTPUT_VARIABLE output)
message(STATUS "${output}")
if(result)
  message(FATAL_ERROR "the consumer failed")
endif()
# The pkg-config file must name the library and its headers.
file(READ ${WORK_DIR}/prefix/lib/pkgconfig/QuarnNC10.pc pc)
if(NOT pc MATCHES "-lQuarnNC10")
  message(FATAL_ERROR "QuarnNC10.pc does not link the library")
endif()
