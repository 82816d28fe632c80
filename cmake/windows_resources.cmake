# Windows resources of the programs and libraries.

# tagwright_windows_resources(<target> <description>): gives the program or library its version,
# product and description, and a program its manifest.
function(tagwright_windows_resources target description)
  get_target_property(type ${target} TYPE)
  get_target_property(output ${target} OUTPUT_NAME)
  if(NOT output)
    set(output ${target})
  endif()
  set(RESOURCE_TARGET ${output})
  set(RESOURCE_DESCRIPTION ${description})
  set(folder ${CMAKE_BINARY_DIR}/resources/${target})
  if(type STREQUAL "EXECUTABLE")
    set(RESOURCE_FILE_TYPE 1)
    set(RESOURCE_FILE_NAME ${output}.exe)
    configure_file(${PROJECT_SOURCE_DIR}/resources/program.manifest.in
                   ${folder}/program.manifest @ONLY)
    file(WRITE ${folder}/manifest.rc "1 24 \"${folder}/program.manifest\"\n")
    target_sources(${target} PRIVATE ${folder}/manifest.rc)
  else()
    set(RESOURCE_FILE_TYPE 2)
    set(RESOURCE_FILE_NAME ${output}.dll)
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/resources/version.rc.in ${folder}/version.rc @ONLY)
  target_sources(${target} PRIVATE ${folder}/version.rc)
endfunction()

# The event message file: a library of resources without code.
set(messages ${CMAKE_BINARY_DIR}/resources/bkevtmsg)
file(MAKE_DIRECTORY ${messages})
add_custom_command(
  OUTPUT ${messages}/bkevtmsg.rc ${messages}/MSG00409.bin
  COMMAND ${TAGWRIGHT_MESSAGE_COMPILER} -U -r ${messages} -h ${messages}
          ${PROJECT_SOURCE_DIR}/resources/bkevtmsg.mc
  DEPENDS ${PROJECT_SOURCE_DIR}/resources/bkevtmsg.mc
  COMMENT "Compiling the event messages"
  VERBATIM)
add_library(bkevtmsg MODULE ${messages}/bkevtmsg.rc)
set_source_files_properties(${messages}/bkevtmsg.rc PROPERTIES OBJECT_DEPENDS
                                                               ${messages}/MSG00409.bin)
set_target_properties(bkevtmsg PROPERTIES PREFIX "" LINKER_LANGUAGE C)
target_link_options(bkevtmsg PRIVATE -nostdlib -Wl,--entry=0)
tagwright_windows_resources(bkevtmsg "Event messages of Tagwright")
