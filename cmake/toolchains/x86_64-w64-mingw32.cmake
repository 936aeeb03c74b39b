# Cross-compiles the SDK for 64-bit Windows with Debian's MinGW-w64 (posix thread
# model, which std::thread and std::mutex need) and runs the built programs under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(UVC_STEREO_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${UVC_STEREO_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${UVC_STEREO_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${UVC_STEREO_MINGW_TRIPLE}-windres)
set(CMAKE_AR /usr/bin/${UVC_STEREO_MINGW_TRIPLE}-ar CACHE FILEPATH "MinGW archiver")
set(CMAKE_RANLIB /usr/bin/${UVC_STEREO_MINGW_TRIPLE}-ranlib CACHE FILEPATH "MinGW ranlib")

set(CMAKE_FIND_ROOT_PATH /usr/${UVC_STEREO_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The GCC runtime, the C++ library and winpthread are linked in statically, so the SDK
# DLL and the test programs run with nothing but Windows' own DLLs beside them.
set(UVC_STEREO_MINGW_STATIC_RUNTIME "-static")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${UVC_STEREO_MINGW_STATIC_RUNTIME}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${UVC_STEREO_MINGW_STATIC_RUNTIME}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${UVC_STEREO_MINGW_STATIC_RUNTIME}")

# ctest and add_test run every Windows program through Wine.
get_filename_component(UVC_STEREO_SOURCE_ROOT "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${UVC_STEREO_SOURCE_ROOT}/scripts/wine-run.sh")
