# Registers the test SourcesListed: every source file of the directories built here is listed
# by some target (cmake/CheckSourcesListed.cmake), so a file added to the tree but not to a list
# is reported instead of silently left out of the build, the tests or the installed headers.
set(quarn_listed_roots util nc tools tests examples)
if(QUARNNC10_BENCH)
  list(APPEND quarn_listed_roots bench)
endif()
if(QUARNNC10_FUZZ OR QUARNNC10_FUZZ_REPLAY)
  list(APPEND quarn_listed_roots fuzz)
endif()

set(quarn_listed_files "")
set(quarn_listed_dirs ${PROJECT_SOURCE_DIR})
while(quarn_listed_dirs)
  list(POP_FRONT quarn_listed_dirs dir)
  get_property(subdirs DIRECTORY ${dir} PROPERTY SUBDIRECTORIES)
  list(APPEND quarn_listed_dirs ${subdirs})
  get_property(targets DIRECTORY ${dir} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(sources ${target} SOURCES)
    get_target_property(headers ${target} HEADER_SET)
    get_target_property(target_dir ${target} SOURCE_DIR)
    foreach(file IN LISTS sources headers)
      if(file AND NOT file MATCHES "^\\$<")
        cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${target_dir} NORMALIZE)
        cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
        list(APPEND quarn_listed_files ${file})
      endif()
    endforeach()
  endforeach()
endwhile()
list(REMOVE_DUPLICATES quarn_listed_files)
list(JOIN quarn_listed_files "\n" quarn_listed_text)
file(WRITE ${PROJECT_BINARY_DIR}/quarn-listed-sources.txt "${quarn_listed_text}\n")

list(JOIN quarn_listed_roots "," quarn_listed_roots)
add_test(NAME SourcesListed
  COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${PROJECT_SOURCE_DIR} -DROOTS=${quarn_listed_roots}
    -DLISTED=${PROJECT_BINARY_DIR}/quarn-listed-sources.txt -P ${PROJECT_SOURCE_DIR}/cmake/CheckSourcesListed.cmake)
