# A compiler cache, where there is one, serves every build folder.
find_program(TAGWRIGHT_CCACHE ccache)
if(TAGWRIGHT_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${TAGWRIGHT_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${TAGWRIGHT_CCACHE})
endif()

# Compiler options of everything the project owns: link `tagwright_options`.
add_library(tagwright_options INTERFACE)
target_include_directories(tagwright_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(tagwright_options INTERFACE -Wall -Wextra -Wshadow)
# GetProcAddress gives every function the type FARPROC, which each caller casts to the function's own.
target_compile_options(tagwright_options INTERFACE -Wno-cast-function-type)
# A crash is turned into an exception that is thrown from the instruction that failed.
include(cmake/supported_compiler.cmake)
target_compile_options(tagwright_options INTERFACE -fnon-call-exceptions
                                                   -fasynchronous-unwind-tables)
# GCC 12 warns of overlaps in std::string's own code that cannot happen (its bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  target_compile_options(tagwright_options INTERFACE -Wno-restrict)
endif()
if(TAGWRIGHT_WERROR)
  target_compile_options(tagwright_options INTERFACE -Werror)
endif()
if(TAGWRIGHT_SANITIZER)
  include(cmake/sanitizers.cmake)
endif()
if(NOT WIN32)
  # Nothing is bound lazily: a crash must not interrupt the loader, which has a lock to give back.
  target_link_options(tagwright_options INTERFACE LINKER:-z,now)
  # So calls of other libraries need no step in between that would bind them.
  target_compile_options(tagwright_options INTERFACE -fno-plt)
endif()
option(TAGWRIGHT_HARDENED "Build as it is shipped: hardened, with debug information" ON)
if(TAGWRIGHT_HARDENED)
  include(cmake/hardening.cmake)
endif()
if(WIN32)
  target_compile_definitions(tagwright_options INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0601)
  target_link_options(tagwright_options INTERFACE -static)
endif()
