// Must not compile: a Status dropped on the floor. The function itself carries no attribute, so only the
// type's own [[nodiscard]] can stop this.
#include "uvc_stereo/result.h"

namespace {

tovanel::uvc_stereo::Status check_something() {
  return tovanel::uvc_stereo::Status(tovanel::uvc_stereo::ErrorCode::InvalidArgument, "refused");
}

}  // namespace

int main() {
  check_something();
  return 0;
}
