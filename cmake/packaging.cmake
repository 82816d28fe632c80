# What is installed besides the simulator and the kit for drivers. scripts/package makes packages of it.
include(cmake/notices.cmake)
install(TARGETS tagwright tagwrightctl RUNTIME DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
install(FILES resources/zsdk_job.xsd DESTINATION ${TAGWRIGHT_DATA_FOLDER})

# The pages for those who use the program; those for its developers speak of a source tree.
install(FILES packaging/readme.md DESTINATION ${TAGWRIGHT_DOC_FOLDER} RENAME README.md)
install(DIRECTORY docs examples DESTINATION ${TAGWRIGHT_DOC_FOLDER}
        PATTERN architecture.md EXCLUDE PATTERN building.md EXCLUDE)

if(WIN32)
  install(TARGETS bkevtmsg LIBRARY DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
  configure_file(resources/event-source.cmd ${CMAKE_BINARY_DIR}/resources/event-source.cmd
                 @ONLY NEWLINE_STYLE CRLF)
  install(FILES ${CMAKE_BINARY_DIR}/resources/event-source.cmd
          DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
  configure_file(${TAGWRIGHT_NOTICES} ${CMAKE_BINARY_DIR}/resources/copyright.txt
                 COPYONLY)
  install(FILES ${CMAKE_BINARY_DIR}/resources/copyright.txt DESTINATION ${TAGWRIGHT_DOC_FOLDER})
  install(FILES ${CMAKE_BINARY_DIR}/resources/copyright.txt DESTINATION ${TAGWRIGHT_DOC_FOLDER}
          COMPONENT simulator)
  configure_file(resources/simulator-event-source.cmd
                 ${CMAKE_BINARY_DIR}/resources/simulator-event-source.cmd @ONLY NEWLINE_STYLE CRLF)
  install(FILES ${CMAKE_BINARY_DIR}/resources/simulator-event-source.cmd
          DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER} COMPONENT simulator)
  # The kit holds code of this project alone.
  configure_file(packaging/copyright.txt ${CMAKE_BINARY_DIR}/resources/client/copyright.txt COPYONLY)
  install(FILES ${CMAKE_BINARY_DIR}/resources/client/copyright.txt
          DESTINATION ${TAGWRIGHT_DOC_FOLDER} COMPONENT client)
else()
  install(TARGETS tagwright_platform LIBRARY DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links)
  foreach(program tagwright tagwrightctl)
    file(CREATE_LINK ../${TAGWRIGHT_PROGRAM_FOLDER}/${program} ${CMAKE_BINARY_DIR}/links/${program}
         SYMBOLIC)
    install(FILES ${CMAKE_BINARY_DIR}/links/${program} DESTINATION bin)
  endforeach()
  install(FILES packaging/man/tagwright.1 packaging/man/tagwrightctl.1 DESTINATION share/man/man1)
  install(FILES packaging/tagwrightctl.bash-completion
          DESTINATION share/bash-completion/completions RENAME tagwrightctl)
endif()
