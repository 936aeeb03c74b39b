# For Visual Studio users of the Windows build: a module-definition file naming every
# function of the C interface, and an import library in Microsoft's format made from it,
# both installed beside the DLL, so an MSVC project links the C interface with no MinGW
# file. The function names come from cmake/exported_api.txt, which check_exports.sh holds
# to the header and to the DLL's real exports.
file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/exported_api.txt UVC_STEREO_C_FUNCTIONS REGEX "^c_function ")
list(TRANSFORM UVC_STEREO_C_FUNCTIONS REPLACE "^c_function " "  ")
list(JOIN UVC_STEREO_C_FUNCTIONS "\n" UVC_STEREO_DEF_EXPORTS)
set(UVC_STEREO_DEF_FILE ${PROJECT_BINARY_DIR}/tovanel_uvc_stereo_sdk.def)
file(CONFIGURE OUTPUT ${UVC_STEREO_DEF_FILE}
  CONTENT "LIBRARY tovanel_uvc_stereo_sdk.dll\nEXPORTS\n${UVC_STEREO_DEF_EXPORTS}\n")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exported_api.txt)

# LLVM's dlltool writes Microsoft's short import format; MinGW-w64's writes one that link.exe also reads.
find_program(UVC_STEREO_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 ${UVC_STEREO_MINGW_TRIPLE}-dlltool dlltool)
if(NOT UVC_STEREO_DLLTOOL)
  message(WARNING "no dlltool found: the Microsoft-format import library is not built")
  return()
endif()
set(UVC_STEREO_MSVC_IMPORT_LIBRARY ${PROJECT_BINARY_DIR}/tovanel_uvc_stereo_sdk.lib)
add_custom_command(OUTPUT ${UVC_STEREO_MSVC_IMPORT_LIBRARY}
  COMMAND ${UVC_STEREO_DLLTOOL} -m i386:x86-64 -d ${UVC_STEREO_DEF_FILE} -D tovanel_uvc_stereo_sdk.dll
          -l ${UVC_STEREO_MSVC_IMPORT_LIBRARY}
  DEPENDS ${UVC_STEREO_DEF_FILE}
  COMMENT "Making the Microsoft-format import library tovanel_uvc_stereo_sdk.lib"
  VERBATIM)
add_custom_target(uvc_stereo_msvc_import_library ALL DEPENDS ${UVC_STEREO_MSVC_IMPORT_LIBRARY})
install(FILES ${UVC_STEREO_DEF_FILE} ${UVC_STEREO_MSVC_IMPORT_LIBRARY} DESTINATION ${CMAKE_INSTALL_BINDIR})
