# What `cmake --install` puts where: the library with its header, CMake package and pkg-config file, and hlx with its
# man page and completion. The simulator's folder installs its own.
if(NOT TARGET HLX)
  return()
endif()
include(CMakePackageConfigHelpers)

set(HLX_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/HLX)
set(HLX_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS HLX EXPORT HLXTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/HLX.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT HLXTargets NAMESPACE HLX:: DESTINATION ${HLX_PACKAGE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/HLXConfig.cmake.in ${PROJECT_BINARY_DIR}/HLXConfig.cmake
                              INSTALL_DESTINATION ${HLX_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/HLXConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/HLXConfig.cmake ${PROJECT_BINARY_DIR}/HLXConfigVersion.cmake
        DESTINATION ${HLX_PACKAGE_DIR})

# The paths in hlx.pc start at the file's own place, so an installed tree can be moved.
file(RELATIVE_PATH HLX_PKGCONFIG_TO_PREFIX /prefix/${HLX_PKGCONFIG_DIR} /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/hlx.pc.in ${PROJECT_BINARY_DIR}/hlx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/hlx.pc DESTINATION ${HLX_PKGCONFIG_DIR})

if(HLX_TOOLS)
  file(RELATIVE_PATH HLX_BIN_TO_LIB /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(hlx PROPERTIES INSTALL_RPATH "$ORIGIN/${HLX_BIN_TO_LIB}")
  install(TARGETS hlx RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/hlx.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  set(HLX_COMPLETIONS ${PROJECT_BINARY_DIR}/tools/hlx/completions)
  install(FILES ${HLX_COMPLETIONS}/hlx DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${HLX_COMPLETIONS}/_hlx DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
  install(FILES ${HLX_COMPLETIONS}/hlx.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
