# Installs the build tree into a scratch prefix, then configures, builds and runs the consumer
cmake_minimum_required(VERSION 3.25)
# project against it the way a host application would.
# Usage: cmake -DBUILD_DIR=... -DCONSUMER_DIR=... -DWORK_DIR=... -DGENERATOR=... -P FindPackageTest.cmake

function(run step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${step} failed (${status}):\n${output}")
  endif()
  message(STATUS "${step}: ok")
  set(last_output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
run("install" ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/prefix")
run("configure consumer" ${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix")
run("build consumer" ${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run("run consumer" "${WORK_DIR}/build/consumer")
message(STATUS "${last_output}")
