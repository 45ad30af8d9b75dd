# Settings shared by every target the project builds. Warnings and strictness stay PRIVATE to our
# own targets so that a host that adds us with add_subdirectory() keeps its own flags.

function(vantora_setup_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${VANTORA_WERROR}>:-Werror>)
  target_compile_definitions(${target} PRIVATE
    QT_NO_CAST_FROM_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH QT_NO_KEYWORDS)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# vantora_add_layer(<name> SOURCES ... [PUBLIC_HEADERS ...] [LAYERS <lower layers>] [QT <modules>])
# One static, position-independent target per layer. It links only the layers named, so a call
# that points up the layer table fails to link. Public headers are collected for the installed
# library; everything else stays private to the build.
function(vantora_add_layer name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC_HEADERS;LAYERS;QT" ${ARGN})
  set(target vantora_${name})
  add_library(${target} STATIC ${arg_SOURCES} ${arg_PUBLIC_HEADERS})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  vantora_setup_target(${target})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>)
  foreach(layer IN LISTS arg_LAYERS)
    target_link_libraries(${target} PUBLIC vantora_${layer})
  endforeach()
  foreach(module IN LISTS arg_QT)
    target_link_libraries(${target} PUBLIC Qt6::${module})
  endforeach()
  list(TRANSFORM arg_PUBLIC_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(GLOBAL APPEND PROPERTY VANTORA_PUBLIC_HEADERS ${arg_PUBLIC_HEADERS})
endfunction()

# vantora_add_qml_module(<target> URI <uri> [QML_FILES ...] [PLUGIN_TARGET <plugin> ...]
#                        [other qt_add_qml_module arguments])
# A QML module on a layer target, its resources under /qt/qml on every Qt version, its types
# registered as soon as the library is loaded. Without PLUGIN_TARGET it has no plugin. Its qmldir
# and type description are installed for hosts and their tools (qmllint, qmlls, Qt Creator). The
# C++ that qmlcachegen writes for the QML files is compiled without our warnings, which it does
# not meet. The layouts are linted by the `all_qmllint` target, which the test command builds.
function(vantora_add_qml_module target)
  cmake_parse_arguments(arg "" "URI;PLUGIN_TARGET" "QML_FILES;IMPORTS" ${ARGN})
  string(REPLACE "." "/" uri_path ${arg_URI})
  if(arg_PLUGIN_TARGET)
    set(plugin PLUGIN_TARGET ${arg_PLUGIN_TARGET})
  else()
    set(plugin NO_PLUGIN)
  endif()
  set(output_dir ${PROJECT_BINARY_DIR}/qml/${uri_path})
  qt_add_qml_module(${target}
    URI ${arg_URI}
    VERSION 1.0
    RESOURCE_PREFIX /qt/qml
    OUTPUT_DIRECTORY ${output_dir}
    ${plugin}
    DEPENDENCIES QtQuick
    QML_FILES ${arg_QML_FILES}
    IMPORTS ${arg_IMPORTS}
    ${arg_UNPARSED_ARGUMENTS})
  set(installed_files ${output_dir}/qmldir ${output_dir}/${target}.qmltypes)
  foreach(file IN LISTS arg_QML_FILES)
    get_filename_component(name ${file} NAME)
    list(APPEND installed_files ${output_dir}/${name})
  endforeach()
  install(FILES ${installed_files} DESTINATION ${VANTORA_INSTALL_QMLDIR}/${uri_path})
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/.rcc/qmlcache/${target}_qmlcache_loader.cpp)
  foreach(file IN LISTS arg_QML_FILES)
    string(REPLACE "." "_" mangled ${file})
    list(APPEND generated ${CMAKE_CURRENT_BINARY_DIR}/.rcc/qmlcache/${target}_${mangled}.cpp)
  endforeach()
  set_source_files_properties(${generated} PROPERTIES COMPILE_OPTIONS -w)
endfunction()
