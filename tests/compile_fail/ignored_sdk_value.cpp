// Must not compile: an SDK function that returns a plain value, not a Status, is marked as well, so its
// answer cannot be dropped either.
#include "uvc_stereo/result.h"

int main() {
  tovanel::uvc_stereo::error_code_name(tovanel::uvc_stereo::ErrorCode::InvalidJson);
  return 0;
}
