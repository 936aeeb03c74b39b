#pragma once

#include <string>

namespace tovanel::uvc_stereo::cli {

// The operating system the tool runs on, for field reports.
struct HostPlatform {
  std::string os;            ///< "Linux", "Windows"
  std::string release;       ///< the kernel release ("6.1.0-18-amd64"), or the Windows version ("10.0.22631")
  std::string architecture;  ///< "x86_64", "aarch64", ...
};

// Asks the system; a field it cannot tell is "unknown".
[[nodiscard]] HostPlatform host_platform();

}  // namespace tovanel::uvc_stereo::cli
