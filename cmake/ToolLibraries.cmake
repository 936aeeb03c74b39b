# The uvc-stereo tool (never the SDK) parses its arguments with CLI11 and writes its --json
# output with nlohmann/json, both header-only Debian packages (libcli11-dev,
# nlohmann-json3-dev). A cross build must not search the host's /usr/include as a whole,
# so only these two libraries' own header folders are offered to the tool, through a
# folder of links in the build tree.
function(uvc_stereo_find_tool_header out_var header package)
  find_path(${out_var} ${header} PATHS /usr/include /usr/local/include
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ${out_var})
    message(FATAL_ERROR "The uvc-stereo tool needs ${header} (Debian package ${package}); "
                        "install it, or configure with -DUVC_STEREO_BUILD_TOOLS=OFF")
  endif()
endfunction()

uvc_stereo_find_tool_header(UVC_STEREO_CLI11_ROOT CLI/CLI.hpp libcli11-dev)
uvc_stereo_find_tool_header(UVC_STEREO_NLOHMANN_JSON_ROOT nlohmann/json.hpp nlohmann-json3-dev)

set(uvc_stereo_tool_headers ${CMAKE_BINARY_DIR}/tool_libraries/include)
file(MAKE_DIRECTORY ${uvc_stereo_tool_headers})
file(CREATE_LINK ${UVC_STEREO_CLI11_ROOT}/CLI ${uvc_stereo_tool_headers}/CLI SYMBOLIC)
file(CREATE_LINK ${UVC_STEREO_NLOHMANN_JSON_ROOT}/nlohmann ${uvc_stereo_tool_headers}/nlohmann SYMBOLIC)

# SYSTEM: the libraries' own headers are not held to the project's warnings-as-errors.
add_library(uvc_stereo_tool_libraries INTERFACE)
target_include_directories(uvc_stereo_tool_libraries SYSTEM INTERFACE ${uvc_stereo_tool_headers})
