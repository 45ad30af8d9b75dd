cmake_minimum_required(VERSION 3.25)
# Fails when a C++ source of the project is not laid out as .clang-format says.
# Usage: cmake -DCLANG_FORMAT=<path> -DSOURCE_DIR=<project root> -P CheckFormat.cmake

file(GLOB_RECURSE sources
  "${SOURCE_DIR}/src/*.cpp" "${SOURCE_DIR}/src/*.h"
  "${SOURCE_DIR}/tools/*.cpp" "${SOURCE_DIR}/tools/*.h"
  "${SOURCE_DIR}/examples/*.cpp" "${SOURCE_DIR}/examples/*.h"
  "${SOURCE_DIR}/tests/*.cpp" "${SOURCE_DIR}/tests/*.h"
  "${SOURCE_DIR}/bench/*.cpp" "${SOURCE_DIR}/bench/*.h"
  "${SOURCE_DIR}/fuzz/*.cpp" "${SOURCE_DIR}/fuzz/*.h")
execute_process(COMMAND "${CLANG_FORMAT}" --dry-run --Werror ${sources}
  RESULT_VARIABLE status ERROR_VARIABLE complaints)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "Not formatted (run clang-format -i on these):\n${complaints}")
endif()
list(LENGTH sources count)
message(STATUS "format: ${count} files as .clang-format says")
