# Refuses what the handling of crashes cannot be built with.

# Registers, unwinding and instructions are those of one architecture.
if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  message(FATAL_ERROR "Tagwright runs on x86-64 only, not on ${CMAKE_SYSTEM_PROCESSOR}")
endif()

# Clang takes -fnon-call-exceptions without a word and ignores it: a handler around nothing but a read
# is left out then, and its text with it. The fuzzer, which is Clang's, wants to see crashes, not to have
# them thrown.
if(NOT TAGWRIGHT_SANITIZER MATCHES "fuzzer" AND NOT DEFINED TAGWRIGHT_HAS_NON_CALL_EXCEPTIONS)
  set(probe ${CMAKE_BINARY_DIR}/non_call_exceptions)
  file(WRITE ${probe}.cpp "
    const char* Read(const char* const* address) {
      try { return *address; } catch (...) { return \"the handler is kept\"; }
    }")
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
  try_compile(compiled ${probe} ${probe}.cpp COMPILE_DEFINITIONS -fnon-call-exceptions
              COPY_FILE ${probe}.a)
  unset(CMAKE_TRY_COMPILE_TARGET_TYPE)
  set(kept "")
  if(compiled)
    file(STRINGS ${probe}.a kept REGEX "the handler is kept")
  endif()
  if(NOT kept)
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not support -fnon-call-exceptions: use GCC")
  endif()
  set(TAGWRIGHT_HAS_NON_CALL_EXCEPTIONS TRUE CACHE INTERNAL "")
endif()
