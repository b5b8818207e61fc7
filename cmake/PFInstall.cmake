# What `cmake --install` puts where: headers, both libraries in both kinds, a CMake package, pkg-config
# files and the tool.
include(CMakePackageConfigHelpers)

set(pf_targets PF PF_static)
if(PF_BUILD_HOST)
  list(APPEND pf_targets PFhost PFhost_static)
endif()
install(TARGETS ${pf_targets} EXPORT PFTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT PFTargets NAMESPACE PF:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PF)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(PF_CONFIG_HAS_HOST ${PF_BUILD_HOST})
configure_package_config_file(cmake/PFConfig.cmake.in ${PROJECT_BINARY_DIR}/PFConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PF)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PFConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PFConfig.cmake ${PROJECT_BINARY_DIR}/PFConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PF)

foreach(package PF PFhost)
  if(package STREQUAL "PF" OR PF_BUILD_HOST)
    configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  endif()
endforeach()

if(TARGET pf)
  install(TARGETS pf RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
