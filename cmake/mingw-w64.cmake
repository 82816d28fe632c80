# Cross build for 64-bit Windows with Debian's mingw-w64 (POSIX threads). The system's own include and
# library folders are never searched, so nothing of the host leaks into the build.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(TAGWRIGHT_MESSAGE_COMPILER x86_64-w64-mingw32-windmc)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The build and ctest start Windows programs through this.
get_filename_component(emulator ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator})
