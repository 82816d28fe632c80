# The copyright file of the packages: the project's own line, then the notice of each library of which
# a program or a library holds code, as Debian's package of it states it.

# tagwright_notices(<output> [<title> <file>]...)
function(tagwright_notices output)
  file(READ ${PROJECT_SOURCE_DIR}/packaging/copyright.txt text)
  while(ARGN)
    list(POP_FRONT ARGN title file)
    if(NOT EXISTS ${file})
      message(FATAL_ERROR "${file}, the notice of ${title}, is missing")
    endif()
    file(READ ${file} notice)
    string(REPEAT "=" 78 rule)
    string(APPEND text "\n${rule}\n${title}\n${rule}\n\n${notice}")
  endwhile()
  file(WRITE ${output} "${text}")
endfunction()

set(TAGWRIGHT_NOTICES ${CMAKE_BINARY_DIR}/copyright)
set(debian_notices /usr/share/doc)
set(notices
  "JSON for Modern C++" ${debian_notices}/nlohmann-json3-dev/copyright
  "CLI11" ${debian_notices}/libcli11-dev/copyright
  "UTF8-CPP" ${debian_notices}/libutfcpp-dev/copyright)
if(WIN32)
  list(APPEND notices
    "TinyXML" ${TAGWRIGHT_DEBIAN_SOURCES}/tinyxml/debian/copyright
    "The libraries of mingw-w64" ${debian_notices}/mingw-w64-common/copyright
    "The libraries of GCC, under the GCC Runtime Library Exception"
    ${debian_notices}/gcc-mingw-w64-base/copyright)
endif()
tagwright_notices(${TAGWRIGHT_NOTICES} ${notices})
