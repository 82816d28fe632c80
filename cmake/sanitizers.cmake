# How everything is built that the sanitizers of TAGWRIGHT_SANITIZER watch. Debug information has lines
# alone. A check that fails fails its test. Null pointers are the crash handling's to find, and the tests' own
# code is watched for its use of memory alone: the other checks take it twice as long to build.
set(watched "-fsanitize=${TAGWRIGHT_SANITIZER}")
target_compile_options(tagwright_options INTERFACE ${watched} -fno-omit-frame-pointer -g1)
target_link_options(tagwright_options INTERFACE ${watched})
if(TAGWRIGHT_SANITIZER MATCHES "undefined")
  target_compile_options(tagwright_options INTERFACE
    -fno-sanitize-recover=undefined -fno-sanitize=null
    $<$<BOOL:$<TARGET_PROPERTY:TAGWRIGHT_TEST>>:-fno-sanitize=undefined>)
endif()
if(TAGWRIGHT_SANITIZER MATCHES "fuzzer")
  target_compile_options(tagwright_options INTERFACE -O1 -fsanitize=float-cast-overflow
                                                     -fno-sanitize-recover=float-cast-overflow)
endif()
