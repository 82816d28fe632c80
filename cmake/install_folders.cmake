# Where things are installed, below the prefix. Program files lie together in one folder on both
# systems, as they do in the build folder: the program finds its libraries, its component and the
# component's files beside itself.
#
# What is installed comes in components, one a package: `program`, `simulator`, `managed`, and the kits:
# `client` for drivers and `component` for authors of printer components. What names no component belongs to
# the program.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME program)
if(WIN32)
  set(TAGWRIGHT_PROGRAM_FOLDER .)
  set(TAGWRIGHT_DOC_FOLDER .)
  set(TAGWRIGHT_DATA_FOLDER .)
else()
  set(TAGWRIGHT_PROGRAM_FOLDER lib/tagwright)
  set(TAGWRIGHT_DOC_FOLDER share/doc/tagwright)
  set(TAGWRIGHT_DATA_FOLDER share/tagwright)
endif()
