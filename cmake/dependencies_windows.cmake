# The third-party libraries of the cross build. What Debian only ships compiled for itself is built
# from its source packages; header-only libraries are taken from its packages through links to just
# their own folders, so that /usr/include stays out of the build.

set(TAGWRIGHT_DEBIAN_SOURCES ${CMAKE_BINARY_DIR}/debian-sources)
if(NOT EXISTS ${TAGWRIGHT_DEBIAN_SOURCES}/tinyxml/tinyxml.cpp)
  message(STATUS "Fetching Debian's source packages")
  execute_process(
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/fetch-windows-sources ${TAGWRIGHT_DEBIAN_SOURCES}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endif()

set(tinyxml ${TAGWRIGHT_DEBIAN_SOURCES}/tinyxml)
add_library(tagwright_tinyxml STATIC ${tinyxml}/tinyxml.cpp ${tinyxml}/tinyxmlerror.cpp
                                     ${tinyxml}/tinyxmlparser.cpp)
target_compile_definitions(tagwright_tinyxml PUBLIC TIXML_USE_STL)
target_include_directories(tagwright_tinyxml SYSTEM PUBLIC ${tinyxml})

# tagwright_header_library(<target> <package> <folder>): the headers in /usr/include/<folder>, which
# <package> installs.
function(tagwright_header_library target package folder)
  if(NOT IS_DIRECTORY /usr/include/${folder})
    message(FATAL_ERROR "${package} is missing: run scripts/install-dependencies")
  endif()
  set(root ${CMAKE_BINARY_DIR}/headers/${target})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK /usr/include/${folder} ${root}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${root})
endfunction()

tagwright_header_library(tagwright_json nlohmann-json3-dev nlohmann)
tagwright_header_library(tagwright_cli11 libcli11-dev CLI)
tagwright_header_library(tagwright_utf8 libutfcpp-dev utf8cpp)

# GoogleTest runs on Windows' own threads; only tests are linked with it.
set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
