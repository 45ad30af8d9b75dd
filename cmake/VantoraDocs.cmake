# The API reference: Doxygen over the installed headers, into build/docs/html (target `docs`,
# built with `all` when Doxygen is there) and installed with the library.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "docs: Doxygen not found, no API reference (scripts/setup installs it)")
  return()
endif()

get_property(public_headers GLOBAL PROPERTY VANTORA_PUBLIC_HEADERS)
set(DOXYGEN_PROJECT_NAME Vantora)
set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR}/src)
set(DOXYGEN_STRIP_FROM_INC_PATH ${PROJECT_SOURCE_DIR}/src)
set(DOXYGEN_FULL_PATH_NAMES YES)
set(DOXYGEN_EXTRACT_ALL YES)
set(DOXYGEN_HIDE_UNDOC_RELATIONS YES)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_IF_UNDOCUMENTED NO)
set(DOXYGEN_MARKDOWN_SUPPORT YES)
# The headers show usage as indented C++; names in it are not links.
set(DOXYGEN_AUTOLINK_SUPPORT NO)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/README.md)
# Qt's macros, as moc sees them.
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED "Q_OBJECT=" "Q_GADGET=" "QML_ELEMENT=" "QML_UNCREATABLE(x)="
  "QML_NAMED_ELEMENT(x)=" "Q_ENUM(x)=" "Q_SIGNALS=public" "Q_SLOTS=" "Q_EMIT="
  "Q_INVOKABLE=" "VANTORA_EXPORT=" "Q_PROPERTY(x)=" "Q_DECLARE_PRIVATE(x)=")
doxygen_add_docs(docs ${public_headers} ${PROJECT_SOURCE_DIR}/README.md ALL
  COMMENT "API reference from the public headers")
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/api
  OPTIONAL)
