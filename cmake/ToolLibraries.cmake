# The uvc-stereo tool (never the SDK) parses its arguments with CLI11 and writes its --json
# output with nlohmann/json, both header-only Debian packages (libcli11-dev,
# nlohmann-json3-dev). A cross build must not search the host's /usr/include as a whole,
# so only these two libraries' own header folders are offered to the tool, through a
# folder of links in the build tree.
function(uvc_stereo_find_tool_header out_var header)
  find_path(${out_var} ${header} PATHS /usr/include /usr/local/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
endfunction()

# Sets OUT_VAR to whether both libraries are installed.
function(uvc_stereo_tool_libraries_found out_var)
  uvc_stereo_find_tool_header(UVC_STEREO_CLI11_ROOT CLI/CLI.hpp)
  uvc_stereo_find_tool_header(UVC_STEREO_NLOHMANN_JSON_ROOT nlohmann/json.hpp)
  if(UVC_STEREO_CLI11_ROOT AND UVC_STEREO_NLOHMANN_JSON_ROOT)
    set(${out_var} ON PARENT_SCOPE)
  else()
    set(${out_var} OFF PARENT_SCOPE)
  endif()
endfunction()

# The interface target uvc_stereo_tool_libraries, for the tool and the fuzz targets of its parsers.
function(uvc_stereo_add_tool_libraries)
  foreach(library CLI11_ROOT:CLI/CLI.hpp:libcli11-dev NLOHMANN_JSON_ROOT:nlohmann/json.hpp:nlohmann-json3-dev)
    string(REPLACE ":" ";" parts ${library})
    list(GET parts 0 name)
    list(GET parts 1 header)
    list(GET parts 2 package)
    uvc_stereo_find_tool_header(UVC_STEREO_${name} ${header})
    if(NOT UVC_STEREO_${name})
      message(FATAL_ERROR "The uvc-stereo tool needs ${header} (Debian package ${package}); "
                          "install it, or configure with -DUVC_STEREO_BUILD_TOOLS=OFF -DUVC_STEREO_BUILD_FUZZ=OFF")
    endif()
  endforeach()
  set(headers ${CMAKE_BINARY_DIR}/tool_libraries/include)
  file(MAKE_DIRECTORY ${headers})
  file(CREATE_LINK ${UVC_STEREO_CLI11_ROOT}/CLI ${headers}/CLI SYMBOLIC)
  file(CREATE_LINK ${UVC_STEREO_NLOHMANN_JSON_ROOT}/nlohmann ${headers}/nlohmann SYMBOLIC)
  # SYSTEM: the libraries' own headers are not held to the project's warnings-as-errors.
  add_library(uvc_stereo_tool_libraries INTERFACE)
  target_include_directories(uvc_stereo_tool_libraries SYSTEM INTERFACE ${headers})
endfunction()
