# Builds and runs the consumer project (examples/consumer) as a user of the package would.
#   MODE=installed: installs the build in BUILD_DIR into a scratch prefix, builds the consumer
#     against it through find_package(QuarnNC10), and compiles every installed header on its own.
#   MODE=static: builds a static copy of the library as a subproject of the consumer with
#     QUARNNC10_INSTALL on, installs that copy, and builds the consumer against it through
#     find_package(QuarnNC10).
# Both also build the consumer with the flags pkg-config gives for the installed QuarnNC10.pc.
# Everything is built with the compiler, build type and flags given (those of the build that
# runs the test) under WORK_DIR, which is emptied first.
file(REMOVE_RECURSE ${WORK_DIR})
set(consumer_source ${SOURCE_DIR}/examples/consumer)
set(configure_args -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${EXE_LINKER_FLAGS}"
  "-DCMAKE_SHARED_LINKER_FLAGS=${SHARED_LINKER_FLAGS}")

# step(<what> <command>...): runs the command; fails the test naming <what> if it fails.
function(step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${what} failed: ${result}")
  endif()
endfunction()

# build_and_run(<dir> <configure argument>...): configures the consumer in <dir>, builds and runs it.
function(build_and_run dir)
  step("configuring the consumer" ${CMAKE_COMMAND} -S ${consumer_source} -B ${dir} ${configure_args} ${ARGN})
  step("building the consumer" ${CMAKE_COMMAND} --build ${dir} --parallel 2)
  step("running the consumer" ${dir}/quarn-consumer)
endfunction()

# build_with_pkg_config(<pkg-config option>...): compiles and runs the consumer with the flags
# that pkg-config gives for the installed QuarnNC10.pc.
function(build_with_pkg_config)
  file(GLOB pc_dir LIST_DIRECTORIES true ${prefix}/lib*/pkgconfig)
  set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
  execute_process(COMMAND pkg-config ${ARGN} --cflags --libs QuarnNC10 RESULT_VARIABLE result
    OUTPUT_VARIABLE pc_flags OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know QuarnNC10")
  endif()
  separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
  separate_arguments(flags UNIX_COMMAND "${CXX_FLAGS} ${EXE_LINKER_FLAGS}")
  cmake_path(GET pc_dir PARENT_PATH libdir)
  step("building the consumer with pkg-config" ${CXX_COMPILER} ${flags} ${consumer_source}/main.cpp ${pc_flags}
    -Wl,-rpath,${libdir} -o ${WORK_DIR}/pkg-config-consumer)
  step("running the consumer built with pkg-config" ${WORK_DIR}/pkg-config-consumer)
  set(pc_flags "${pc_flags}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK_DIR}/prefix)
if(MODE STREQUAL "installed")
  step("installing the build" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
  build_and_run(${WORK_DIR}/consumer -DCMAKE_PREFIX_PATH=${prefix})
  # No build type: this checks the headers, not the code, and unoptimized code builds fastest.
  step("compiling the installed headers" ${CMAKE_COMMAND} -S ${SOURCE_DIR}/cmake/HeaderCheck -B ${WORK_DIR}/headers
    ${configure_args} -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=)
  step("compiling the installed headers" ${CMAKE_COMMAND} --build ${WORK_DIR}/headers --parallel 2)
  build_with_pkg_config()
elseif(MODE STREQUAL "static")
  set(subproject ${WORK_DIR}/subproject)
  # No build type: this checks the packaging, and unoptimized code builds fastest.
  build_and_run(${subproject} -DQUARNNC10_SOURCE_DIR=${SOURCE_DIR} -DBUILD_SHARED_LIBS=OFF -DQUARNNC10_INSTALL=ON
    -DCMAKE_BUILD_TYPE=)
  # A subproject builds the library only: no tool, tests, benchmarks or fuzzers.
  foreach(dir tools examples tests bench fuzz)
    if(EXISTS ${subproject}/QuarnNC10/${dir})
      message(FATAL_ERROR "the subproject added ${dir}/")
    endif()
  endforeach()
  step("installing the static library" ${CMAKE_COMMAND} --install ${subproject} --prefix ${prefix})
  file(GLOB_RECURSE shared_libraries ${prefix}/libQuarnNC10.so*)
  file(GLOB_RECURSE static_libraries ${prefix}/libQuarnNC10.a)
  if(shared_libraries OR NOT static_libraries)
    message(FATAL_ERROR "installed ${shared_libraries} ${static_libraries} instead of one libQuarnNC10.a")
  endif()
  build_and_run(${WORK_DIR}/consumer -DCMAKE_PREFIX_PATH=${prefix})
  build_with_pkg_config(--static)
  if(NOT pc_flags MATCHES "-DQUARN_NC_STATIC")
    message(FATAL_ERROR "QuarnNC10.pc does not tell that the library is static: ${pc_flags}")
  endif()
else()
  message(FATAL_ERROR "MODE must be installed or static, not '${MODE}'")
endif()
