#include "bridge/platform.h"
#include "bridge/process_lock.h"

namespace tovanel::uvc_stereo::detail::bridge {

PlatformOverride::PlatformOverride(const PlatformTable& replacements) noexcept {
  layer_.entries = replacements;
  enter_process_lock();
  push_platform_layer(layer_);
  leave_process_lock();
}

PlatformOverride::~PlatformOverride() {
  enter_process_lock();
  remove_platform_layer(layer_);
  leave_process_lock();
}

}  // namespace tovanel::uvc_stereo::detail::bridge
