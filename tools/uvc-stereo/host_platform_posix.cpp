#include <sys/utsname.h>

#include "uvc-stereo/host_platform.h"

namespace tovanel::uvc_stereo::cli {

HostPlatform host_platform() {
  HostPlatform platform{"unknown", "unknown", "unknown"};
  struct utsname names {};
  if (uname(&names) == 0) {
    platform.os = names.sysname;
    platform.release = names.release;
    platform.architecture = names.machine;
  }
  return platform;
}

}  // namespace tovanel::uvc_stereo::cli
