# fmt 10 as the imported target fmt::fmt-header-only. Other majors do not do: their names have another
# version in them, and what includes platform/base/Trace.h would not link with the platform.
#
# fmt's own CMake package is taken where it is of that version. Otherwise KORVO_FMT_ROOT, if set, names
# the folder into which a libfmt-dev 10 was unpacked (dpkg -x); only its headers are used.

find_package(fmt 10...<11 QUIET CONFIG)
if(fmt_FOUND)
  set(Fmt10_VERSION "${fmt_VERSION}")
elseif(KORVO_FMT_ROOT)
  set(fmtCore "${KORVO_FMT_ROOT}/usr/include/fmt/core.h")
  set(fmtNumber 0)
  if(EXISTS "${fmtCore}")
    file(STRINGS "${fmtCore}" fmtVersionLine REGEX "^#define FMT_VERSION [0-9]+")
    string(REGEX MATCH "[0-9]+" fmtNumber "${fmtVersionLine}")
  endif()
  if(fmtNumber GREATER_EQUAL 100000 AND fmtNumber LESS 110000)
    math(EXPR fmtMinor "${fmtNumber} / 100 % 100")
    math(EXPR fmtPatch "${fmtNumber} % 100")
    set(Fmt10_VERSION "10.${fmtMinor}.${fmtPatch}")
    if(NOT TARGET fmt::fmt-header-only)
      add_library(fmt::fmt-header-only INTERFACE IMPORTED GLOBAL)
      set_target_properties(fmt::fmt-header-only PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES "${KORVO_FMT_ROOT}/usr/include"
        INTERFACE_COMPILE_DEFINITIONS "FMT_HEADER_ONLY=1")
    endif()
  endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Fmt10
  REQUIRED_VARS Fmt10_VERSION
  REASON_FAILURE_MESSAGE
    "fmt 10 is neither installed nor unpacked in KORVO_FMT_ROOT (\"${KORVO_FMT_ROOT}\")")
