# What is installed besides the component, and the packages made of it: a .deb on Linux, a .zip for
# Windows.
install(TARGETS tagwright tagwrightctl RUNTIME DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
install(FILES README.md DESTINATION ${TAGWRIGHT_DOC_FOLDER})
install(DIRECTORY docs examples DESTINATION ${TAGWRIGHT_DOC_FOLDER})
install(FILES resources/zsdk_job.xsd DESTINATION ${TAGWRIGHT_DATA_FOLDER})

set(CPACK_PACKAGE_NAME tagwright)
set(CPACK_PACKAGE_VENDOR Brennick)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Encodes the RFID tags of printed cards for the printer driver")
set(CPACK_STRIP_FILES ON)

if(WIN32)
  install(TARGETS bkevtmsg LIBRARY DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
  configure_file(resources/event-source.cmd ${CMAKE_BINARY_DIR}/resources/event-source.cmd
                 @ONLY NEWLINE_STYLE CRLF)
  install(FILES ${CMAKE_BINARY_DIR}/resources/event-source.cmd
          DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
  set(CPACK_GENERATOR ZIP)
else()
  install(TARGETS tagwright_platform LIBRARY DESTINATION ${TAGWRIGHT_PROGRAM_FOLDER})
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links)
  foreach(program tagwright tagwrightctl)
    file(CREATE_LINK ../${TAGWRIGHT_PROGRAM_FOLDER}/${program} ${CMAKE_BINARY_DIR}/links/${program}
         SYMBOLIC)
    install(FILES ${CMAKE_BINARY_DIR}/links/${program} DESTINATION bin)
  endforeach()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Brennick driver development <drivers@brennick.invalid>")
  set(CPACK_DEBIAN_PACKAGE_SECTION misc)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
endif()
include(CPack)
