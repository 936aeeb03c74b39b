// Must not compile: an SDK call whose answer is ignored.
#include "uvc_stereo/flash.h"

int main() {
  tovanel::uvc_stereo::FlashConfig config;
  tovanel::uvc_stereo::validate_flash_transfer_range(config, config.user_space_address, 16, nullptr);
  return 0;
}
