# Fails when a source under src/vantora/<layer>/ includes a header of a layer it may not use:
cmake_minimum_required(VERSION 3.25)
#   toolkit <- records <- service, realtime <- views <- overlay
# Usage: cmake -DSOURCE_DIR=<src/vantora> -P CheckLayering.cmake

set(allowed_toolkit toolkit)
set(allowed_records toolkit records)
set(allowed_service toolkit records service)
set(allowed_realtime toolkit records realtime)
set(allowed_views toolkit records service views)
set(allowed_overlay toolkit records service realtime views overlay)
set(layers toolkit records service realtime views overlay)

set(violations 0)
foreach(layer IN LISTS layers)
  file(GLOB_RECURSE sources "${SOURCE_DIR}/${layer}/*.h" "${SOURCE_DIR}/${layer}/*.cpp")
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]vantora/[a-z]+/")
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^[^<\"]*[<\"]vantora/([a-z]+)/.*$" "\\1" target "${line}")
      if(NOT target IN_LIST allowed_${layer})
        file(RELATIVE_PATH shown "${SOURCE_DIR}" "${source}")
        message(SEND_ERROR "${shown}: the ${layer} layer may not include ${target}: ${line}")
        math(EXPR violations "${violations} + 1")
      endif()
    endforeach()
  endforeach()
endforeach()

if(violations)
  message(FATAL_ERROR "${violations} include(s) point up the layer table")
endif()
message(STATUS "layering: every include points down")
