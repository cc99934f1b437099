# Sanitizers where a preset asks for them, otherwise what a distribution's hardening flags are.

if(KORVO_SANITIZE)
  # A finding of UBSan ends the program: a test cannot pass over it.
  add_compile_options("-fsanitize=${KORVO_SANITIZE}" -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options("-fsanitize=${KORVO_SANITIZE}")
  if(KORVO_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Asio's fences: gcc says that it does not model them, and the tree has one thread to order.
    add_compile_options(-Wno-tsan)
  endif()
else()
  add_compile_options(-fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    add_compile_options(-fcf-protection)
  endif()
  # glibc checks copies in code that is optimised; everything is but tests and debug builds.
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
endif()

include(CheckPIESupported)
check_pie_supported()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)

# A shared library that leaves a symbol to chance fails when it is linked, not when it is loaded.
# clang links a sanitizer's run-time library into the program alone, so its symbols are open there.
if(NOT (KORVO_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
  string(APPEND CMAKE_SHARED_LINKER_FLAGS " -Wl,-z,defs")
  string(APPEND CMAKE_MODULE_LINKER_FLAGS " -Wl,-z,defs")
endif()
