# What stands on a machine after `cmake --install`: two libraries, the public headers, two programs
# and a CMake package of the platform for those who write a host or a plug-in of their own.

foreach(library IN ITEMS korvo_platform korvo_l2_cli_callbacks)
  if(TARGET ${library})
    install(TARGETS ${library}
      EXPORT KorvoTargets
      LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
      FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/korvo")
  endif()
endforeach()

foreach(program IN ITEMS korvo-l2-agent korvoctl)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  endif()
endforeach()
