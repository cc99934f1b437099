# korvo_add_fuzz_target(NAME name SOURCES file... [LIBS target...] [CORPUS folder])
#
# With KORVO_BUILD_FUZZ the program is a libFuzzer target. Otherwise it is a test that feeds every
# file of the corpus to the same LLVMFuzzerTestOneInput once, so that a found input stays found in
# every build, whatever the compiler.

if(KORVO_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "KORVO_BUILD_FUZZ needs clang: use the preset fuzz.")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(korvo_add_fuzz_target)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;CORPUS" "SOURCES;LIBS")
  if(NOT arg_NAME OR NOT arg_SOURCES OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR
      "korvo_add_fuzz_target(NAME name SOURCES file... [LIBS target...] [CORPUS folder])")
  endif()
  add_executable(${arg_NAME} ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBS})
  set_target_properties(${arg_NAME} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/fuzz/bin")
  if(KORVO_BUILD_FUZZ)
    target_link_options(${arg_NAME} PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(${arg_NAME} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/FuzzReplayMain.cpp")
    if(arg_CORPUS)
      add_test(NAME fuzz_corpus.${arg_NAME}
        COMMAND ${arg_NAME} "${CMAKE_CURRENT_SOURCE_DIR}/${arg_CORPUS}")
      set_tests_properties(fuzz_corpus.${arg_NAME} PROPERTIES TIMEOUT 120 LABELS fuzz)
    endif()
  endif()
endfunction()
