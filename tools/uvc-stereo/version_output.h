#pragma once

#include <ostream>

namespace tovanel::uvc_stereo::cli {

// The answer to --version: the tool's version (that of the SDK headers it was built with),
// the version of the SDK library it runs with, and what the SDK reaches cameras through:
//   uvc-stereo 0.1.0
//   SDK library 0.1.0
//   vendor library: none (the kernel's UVC driver)
void print_versions(std::ostream& out);

}  // namespace tovanel::uvc_stereo::cli
