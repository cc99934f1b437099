# Language level, build types, output folders and compiler cache, for every target of the tree.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()
# RelWithDebInfo is the everyday build: assertions stay on (CMake's own default turns them off), -O1
# compiles in about two thirds of the time that -O2 takes, and lines and functions are all of the
# debug information that a stack trace needs. Under sanitizers nothing is optimised: they turn each
# access into several, and optimising those took two thirds of a build's time. Fuzz targets are few,
# and run millions of times.
if(KORVO_SANITIZE AND NOT KORVO_BUILD_FUZZ)
  set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O0 -g1 -D_GLIBCXX_ASSERTIONS")
else()
  set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1 -D_GLIBCXX_ASSERTIONS")
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

# Programs and libraries lie as they do when installed, so that what one looks for beside itself
# (the agent its plug-in) is found by the same rule in both places.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# Every header of a FILE_SET HEADERS gets a translation unit of its own in the target
# all_verify_interface_header_sets. That target is not part of `all`.
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

# Headers are included from the root of the tree.
include_directories("${CMAKE_SOURCE_DIR}")
# __FILE__ names a file from the root too: traces do not depend on where the tree was built. ccache
# gives the compiler paths relative to the build folder, which are mapped likewise.
file(RELATIVE_PATH sourceFromBuild "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
add_compile_options("-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=" "-fmacro-prefix-map=${sourceFromBuild}=")

# gcc's default; older clang has to be told that operator delete may be given the size.
add_compile_options(-fsized-deallocation)

if(KORVO_LTO)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
endif()

if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(KORVO_CCACHE ccache)
  mark_as_advanced(KORVO_CCACHE)
  if(KORVO_CCACHE)
    # The base folder lets two clones of the tree share one cache; the sloppiness is what ccache asks
    # for before it takes a source with a precompiled header.
    set(CMAKE_CXX_COMPILER_LAUNCHER
      "${CMAKE_COMMAND};-E;env;CCACHE_BASEDIR=${CMAKE_SOURCE_DIR};CCACHE_NOHASHDIR=1")
    list(APPEND CMAKE_CXX_COMPILER_LAUNCHER
      "CCACHE_SLOPPINESS=pch_defines,time_macros" "${KORVO_CCACHE}")
  endif()
endif()
