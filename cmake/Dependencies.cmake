# The libraries of the tree, each as a target whose headers are system headers:
#   korvo_fmt  absl::*  Boost::headers  asio::asio  CLI11::CLI11  simdjson::simdjson
#   RapidJSON::RapidJSON  and for the tests and benchmarks  GTest::gmock  rapidcheck
#   benchmark::benchmark
# All are Debian packages. `./dev setup` installs what is missing.

find_package(Threads REQUIRED)

# Where the distribution's own fmt is older, `./dev setup` unpacks a newer package of the headers here.
set(KORVO_FMT_ROOT "${CMAKE_SOURCE_DIR}/build/deps/fmt10" CACHE PATH
  "Where an unpacked libfmt-dev 10 lies, used when the system has none")
find_package(Fmt10 QUIET)
if(NOT Fmt10_FOUND)
  message(FATAL_ERROR
    "fmt 10 was found neither in the system nor in ${KORVO_FMT_ROOT}. Run ./dev setup first.")
endif()
# Its bodies are compiled once. What is installed says fmt::fmt-header-only and needs no more than the
# headers; here each library and program has the part of it that it calls, unseen from outside.
add_library(korvo_fmt STATIC "${CMAKE_CURRENT_LIST_DIR}/Fmt.cpp")
get_target_property(fmtHeaders fmt::fmt-header-only INTERFACE_INCLUDE_DIRECTORIES)
target_include_directories(korvo_fmt SYSTEM PUBLIC "${fmtHeaders}")
set_target_properties(korvo_fmt PROPERTIES
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)

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

# The agent's allocator: it gives back what was freed without a pause.
find_library(KORVO_JEMALLOC jemalloc REQUIRED)

mark_as_advanced(KORVO_ASIO_INCLUDE KORVO_RAPIDJSON_INCLUDE KORVO_JEMALLOC)

if(KORVO_BUILD_TESTS)
  find_package(GTest REQUIRED CONFIG)
  find_package(rapidcheck REQUIRED CONFIG)
  # A python3 earlier on the path need not see the distribution's modules (jsonschema).
  find_program(KORVO_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
endif()
if(KORVO_BUILD_BENCH)
  find_package(benchmark REQUIRED CONFIG)
endif()
