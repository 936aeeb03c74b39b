#include "c_api/last_error.h"

#include <exception>
#include <string>

namespace tovanel::uvc_stereo::c_api {
namespace {

struct LastFailure {
  uvc_stereo_error_t code = UVC_STEREO_OK;
  std::string message;
};

// Each thread sees only its own failures, as with errno.
LastFailure& last_failure() noexcept {
  thread_local LastFailure failure;
  return failure;
}

}  // namespace

void remember_failure(const Status& status) noexcept {
  LastFailure& failure = last_failure();
  failure.code = static_cast<uvc_stereo_error_t>(status.code());
  // Only the string's own failures (out of memory) can stop the copy, and no hook or thread end runs in it; the
  // code alone is then remembered.
  try {
    failure.message = status.message();
  } catch (const std::exception&) {
    failure.message.clear();
  }
}

uvc_stereo_error_t last_failure_code() noexcept { return last_failure().code; }

const char* last_failure_message() noexcept { return last_failure().message.c_str(); }

void forget_failure() noexcept {
  LastFailure& failure = last_failure();
  failure.code = UVC_STEREO_OK;
  failure.message.clear();
}

}  // namespace tovanel::uvc_stereo::c_api
