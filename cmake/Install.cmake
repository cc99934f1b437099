# What stands on a machine after `cmake --install`. Component `runtime`: the programs, the two libraries
# and what a service needs. Component `devel`: the public headers and a CMake package of the platform,
# for those who write a host or a plug-in of their own.
#
# An installed tree may be moved as a whole: programs find the libraries, the agent its plug-in and the
# CMake package its headers from where they lie. Only the service unit names a folder.

include(CMakePackageConfigHelpers)

set(KORVO_SYSTEMD_UNIT_DIR "lib/systemd/system" CACHE STRING "Where the service unit is installed")
set(KORVO_SYSUSERS_DIR "lib/sysusers.d" CACHE STRING "Where the service's user is declared")

set(headerFolder "${CMAKE_INSTALL_INCLUDEDIR}/korvo")
set(packageFolder "${CMAKE_INSTALL_LIBDIR}/cmake/Korvo")
file(RELATIVE_PATH libFromBin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")

# The libraries lie beside each other; the programs reach them from their own folder.
set_target_properties(korvo_platform korvo_l2_cli_callbacks PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(korvo-l2-agent korvoctl PROPERTIES INSTALL_RPATH "$ORIGIN/${libFromBin}")

install(TARGETS korvo_platform korvo_l2_cli_callbacks
  EXPORT KorvoTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT devel
  FILE_SET HEADERS DESTINATION "${headerFolder}" COMPONENT devel)
install(TARGETS korvo-l2-agent korvoctl
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)

# --- the CMake package

set(pluginEntry "${PROJECT_SOURCE_DIR}/platform/command/PluginEntry.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${pluginEntry}")
file(STRINGS "${pluginEntry}" interfaceLine REGEX "kPluginInterfaceVersion = ")
string(REGEX MATCH "kPluginInterfaceVersion = ([0-9]+)" found "${interfaceLine}")
set(pluginInterfaceVersion "${CMAKE_MATCH_1}")

configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/KorvoConfig.cmake.in"
  "${CMAKE_BINARY_DIR}/package/KorvoConfig.cmake"
  INSTALL_DESTINATION "${packageFolder}"
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 every minor version may change the interfaces.
write_basic_package_version_file("${CMAKE_BINARY_DIR}/package/KorvoConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${CMAKE_BINARY_DIR}/package/KorvoConfig.cmake"
  "${CMAKE_BINARY_DIR}/package/KorvoConfigVersion.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/FindFmt10.cmake"
  DESTINATION "${packageFolder}" COMPONENT devel)
install(EXPORT KorvoTargets
  NAMESPACE Korvo::
  DESTINATION "${packageFolder}" COMPONENT devel)

# --- the service

configure_file("${PROJECT_SOURCE_DIR}/packaging/korvo-l2-agent.service.in"
  "${CMAKE_BINARY_DIR}/package/korvo-l2-agent.service" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/package/korvo-l2-agent.service"
  DESTINATION "${KORVO_SYSTEMD_UNIT_DIR}" COMPONENT runtime)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/korvo-l2.sysusers"
  DESTINATION "${KORVO_SYSUSERS_DIR}" RENAME korvo-l2.conf COMPONENT runtime)

# --- completions and manual pages

install(FILES "${PROJECT_BINARY_DIR}/completions/korvoctl.bash"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME korvoctl
  COMPONENT runtime)
install(FILES "${PROJECT_BINARY_DIR}/completions/korvoctl.zsh"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" RENAME _korvoctl
  COMPONENT runtime)
install(FILES "${PROJECT_SOURCE_DIR}/docs/man/korvoctl.1"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT runtime OPTIONAL)
install(FILES "${PROJECT_SOURCE_DIR}/docs/man/korvo-l2-agent.8"
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man8" COMPONENT runtime OPTIONAL)
