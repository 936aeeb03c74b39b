# Installs the shared library, its public headers, a CMake package giving the imported target
# tovanel::uvc_stereo_sdk, and a pkg-config file, so both kinds of consumers find the SDK.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(UVC_STEREO_PACKAGE tovanel_uvc_stereo_sdk)
set(UVC_STEREO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/${UVC_STEREO_PACKAGE})

install(TARGETS tovanel_uvc_stereo_sdk
  EXPORT ${UVC_STEREO_PACKAGE}Targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/uvc_stereo
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(FILES ${UVC_STEREO_GENERATED_INCLUDE}/uvc_stereo/version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/uvc_stereo)
install(EXPORT ${UVC_STEREO_PACKAGE}Targets
  NAMESPACE tovanel::
  FILE ${UVC_STEREO_PACKAGE}Targets.cmake
  DESTINATION ${UVC_STEREO_CMAKE_DIR})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/${UVC_STEREO_PACKAGE}Config.cmake.in
  ${PROJECT_BINARY_DIR}/${UVC_STEREO_PACKAGE}Config.cmake
  INSTALL_DESTINATION ${UVC_STEREO_CMAKE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/${UVC_STEREO_PACKAGE}ConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/${UVC_STEREO_PACKAGE}Config.cmake
  ${PROJECT_BINARY_DIR}/${UVC_STEREO_PACKAGE}ConfigVersion.cmake
  DESTINATION ${UVC_STEREO_CMAKE_DIR})

# The pkg-config file names its prefix relative to where it is installed (${pcfiledir}), so a
# prefix moved after the build, or chosen at install time with `cmake --install --prefix`,
# still resolves to the installed headers and library. A library directory given as an
# absolute path cannot move with the prefix and is written as it stands.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(UVC_STEREO_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH uvc_stereo_pc_to_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
  string(REGEX REPLACE "/$" "" uvc_stereo_pc_to_prefix "${uvc_stereo_pc_to_prefix}")
  set(UVC_STEREO_PC_PREFIX "\${pcfiledir}/${uvc_stereo_pc_to_prefix}")
endif()
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(UVC_STEREO_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(UVC_STEREO_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/${UVC_STEREO_PACKAGE}.pc.in
  ${PROJECT_BINARY_DIR}/${UVC_STEREO_PACKAGE}.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/${UVC_STEREO_PACKAGE}.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
