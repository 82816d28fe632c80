# How programs are built that ship: what makes a fault in them harder to use against them, and debug
# information, which packages carry in files of their own. tests/packages checks the shipped files. Tests,
# which do not ship, have the property TAGWRIGHT_TEST and are built without.
include(CheckPIESupported)
check_pie_supported()

# tagwright_harden([COMPILE|DEFINE] <option>...)
function(tagwright_harden kind)
  set(ships "$<NOT:$<BOOL:$<TARGET_PROPERTY:TAGWRIGHT_TEST>>>")
  foreach(option ${ARGN})
    if(kind STREQUAL COMPILE)
      target_compile_options(tagwright_options INTERFACE $<${ships}:${option}>)
    else()
      target_compile_definitions(tagwright_options INTERFACE $<${ships}:${option}>)
    endif()
  endforeach()
endfunction()

# Names of source files are relative to the project, so that no file tells where it was built.
tagwright_harden(COMPILE $<$<CONFIG:Release>:-g> -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

# The sanitizers watch the library functions themselves, and fortified functions exist only in optimised
# code.
tagwright_harden(COMPILE -fstack-protector-strong)
if(NOT TAGWRIGHT_SANITIZER)
  tagwright_harden(DEFINE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
endif()

if(WIN32)
  # The toolchain has no control-flow protection that Windows knows. The stack protector is named once more
  # for the linker, which takes its functions and the fortified ones from a library of their own.
  target_link_options(tagwright_options INTERFACE -fstack-protector-strong
    LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat)
else()
  tagwright_harden(COMPILE -fcf-protection=full)
  target_link_options(tagwright_options INTERFACE LINKER:-z,relro LINKER:-z,noexecstack)
endif()
