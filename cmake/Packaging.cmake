# Packages a user installs as they install any other: on Linux a Debian package (the library, headers, CMake and
# pkg-config files, the tool, the udev rule that lets the camera's video nodes be opened, and the Python package);
# on Windows a ZIP archive (the DLL, both import libraries and the .def file, headers, the tool).
# `cpack -G DEB` or `cpack -G ZIP` in a build directory makes them.
include(GNUInstallDirs)

option(UVC_STEREO_INSTALL_PYTHON "Install the Python package beside the library (for the Debian package)" OFF)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/70-tovanel-uvc-stereo.rules DESTINATION lib/udev/rules.d)
  if(UVC_STEREO_INSTALL_PYTHON)
    # Debian's own Python looks in dist-packages; the package finds the library through the system's loader.
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/tovanel_uvc_stereo DESTINATION lib/python3/dist-packages
            PATTERN "__pycache__" EXCLUDE)
  endif()
endif()

set(CPACK_PACKAGE_NAME "tovanel-uvc-stereo-sdk")
set(CPACK_PACKAGE_VENDOR "Tovanel")
set(CPACK_PACKAGE_CONTACT "Tovanel SDK team <sdk@tovanel.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "SDK for the Tovanel UVC stereo camera: scan, capabilities, JSON configuration, IMU (C++, C, Python, uvc-stereo)")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_PACKAGE_SECTION "libs")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The shlibs file lets packages built on this one depend on it; postinst registers the library with the loader, so
# programs find it at /usr without a run path.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/postinst)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3, python3-numpy")

if(WIN32)
  set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-windows-x64")
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR DEB)
endif()
include(CPack)
