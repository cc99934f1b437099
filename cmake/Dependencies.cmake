# The libraries of the tree, each as an imported target whose headers are system headers:
#   fmt::fmt-header-only  absl::*  Boost::headers  asio::asio  CLI11::CLI11  simdjson::simdjson
#   RapidJSON::RapidJSON  and for the tests and benchmarks  GTest::gmock  rapidcheck
#   benchmark::benchmark
# All are Debian packages. `./dev setup` installs what is missing.

find_package(Threads REQUIRED)

# fmt 10. Where the distribution's own is older, `./dev setup` unpacks a newer package of the
# headers below KORVO_FMT_ROOT; only these are used from it.
set(KORVO_FMT_ROOT "${CMAKE_SOURCE_DIR}/build/deps/fmt10" CACHE PATH
  "Where an unpacked libfmt-dev 10 lies, used when the system has none")
find_package(fmt 10 QUIET CONFIG)
if(NOT fmt_FOUND)
  set(fmtCore "${KORVO_FMT_ROOT}/usr/include/fmt/core.h")
  set(fmtVersion 0)
  if(EXISTS "${fmtCore}")
    file(STRINGS "${fmtCore}" fmtVersionLine REGEX "^#define FMT_VERSION [0-9]+")
    string(REGEX MATCH "[0-9]+" fmtVersion "${fmtVersionLine}")
  endif()
  if(fmtVersion LESS 100000 OR NOT fmtVersion LESS 110000)
    message(FATAL_ERROR
      "fmt 10 was found neither in the system nor in ${KORVO_FMT_ROOT}. Run ./dev setup first.")
  endif()
  add_library(fmt::fmt-header-only INTERFACE IMPORTED GLOBAL)
  set_target_properties(fmt::fmt-header-only PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${KORVO_FMT_ROOT}/usr/include"
    INTERFACE_COMPILE_DEFINITIONS "FMT_HEADER_ONLY=1")
endif()

find_package(absl REQUIRED CONFIG)
find_package(Boost REQUIRED CONFIG)
find_package(simdjson REQUIRED CONFIG)
find_package(CLI11 REQUIRED CONFIG)

# Asio comes without a CMake package.
find_path(KORVO_ASIO_INCLUDE asio.hpp REQUIRED)
add_library(asio::asio INTERFACE IMPORTED GLOBAL)
set_target_properties(asio::asio PROPERTIES
  INTERFACE_INCLUDE_DIRECTORIES "${KORVO_ASIO_INCLUDE}"
  INTERFACE_COMPILE_DEFINITIONS "ASIO_STANDALONE;ASIO_NO_DEPRECATED"
  INTERFACE_LINK_LIBRARIES Threads::Threads)

# RapidJSON's CMake package sets variables only.
find_path(KORVO_RAPIDJSON_INCLUDE rapidjson/writer.h REQUIRED)
add_library(RapidJSON::RapidJSON INTERFACE IMPORTED GLOBAL)
set_target_properties(RapidJSON::RapidJSON PROPERTIES
  INTERFACE_INCLUDE_DIRECTORIES "${KORVO_RAPIDJSON_INCLUDE}")

mark_as_advanced(KORVO_ASIO_INCLUDE KORVO_RAPIDJSON_INCLUDE)

if(KORVO_BUILD_TESTS)
  find_package(GTest REQUIRED CONFIG)
  find_package(rapidcheck REQUIRED CONFIG)
  # A python3 earlier on the path need not see the distribution's modules (jsonschema).
  find_program(KORVO_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
endif()
if(KORVO_BUILD_BENCH)
  find_package(benchmark REQUIRED CONFIG)
endif()
