# Fails naming every .cpp file below the ROOTS (comma-separated directories of SOURCE_DIR), and
# every library header below util/ and nc/, that no target lists (LISTED: one path a line).
file(STRINGS ${LISTED} listed)
string(REPLACE "," ";" roots "${ROOTS}")
set(patterns "")
foreach(root IN LISTS roots)
  list(APPEND patterns ${SOURCE_DIR}/${root}/*.cpp)
  if(root STREQUAL "util" OR root STREQUAL "nc")
    list(APPEND patterns ${SOURCE_DIR}/${root}/*.h ${SOURCE_DIR}/${root}/*.inc ${SOURCE_DIR}/${root}/*.def)
  endif()
endforeach()
file(GLOB_RECURSE found RELATIVE ${SOURCE_DIR} ${patterns})
# A project of its own that uses the installed package.
list(FILTER found EXCLUDE REGEX "^examples/consumer/")
list(REMOVE_ITEM found ${listed})
if(found)
  list(SORT found)
  list(JOIN found "\n  " found)
  message(FATAL_ERROR "Files no target lists (add them to their CMakeLists.txt; library headers "
    "as public or internal):\n  ${found}")
endif()
