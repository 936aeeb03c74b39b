#include "c_api/boundary.h"

#include "c_api/last_error.h"

namespace tovanel::uvc_stereo::c_api {

uvc_stereo_error_t fail(const Status& status) noexcept {
  if (status.ok()) {
    return UVC_STEREO_OK;
  }
  remember_failure(status);
  return static_cast<uvc_stereo_error_t>(status.code());
}

Status require_given(bool given, const char* function, const char* name) {
  if (given) {
    return Status();
  }
  return Status(ErrorCode::InvalidArgument, std::string(function) + ": " + name + " is null");
}

Status require(const void* pointer, const char* function, const char* name) {
  return require_given(pointer != nullptr, function, name);
}

Status require_index(std::size_t index, std::size_t count, const char* function, const char* what) {
  if (index < count) {
    return Status();
  }
  return Status(ErrorCode::InvalidArgument, std::string(function) + ": index " + std::to_string(index) +
                                                " is out of range (" + std::to_string(count) + " " + what + ")");
}

Status copy_text(const std::string& text, char* buffer, std::size_t buffer_size, std::size_t* required_size,
                 const char* function) {
  const std::size_t needed = text.size() + 1;
  if (required_size != nullptr) {
    *required_size = needed;
  }
  if (buffer == nullptr && buffer_size != 0) {
    return Status(ErrorCode::InvalidArgument,
                  std::string(function) + ": buffer is null but buffer_size is " + std::to_string(buffer_size));
  }
  if (buffer == nullptr || buffer_size < needed) {
    return Status(ErrorCode::InvalidArgument, std::string(function) + ": the buffer holds " +
                                                  std::to_string(buffer_size) + " bytes, the text needs " +
                                                  std::to_string(needed));
  }
  text.copy(buffer, text.size());
  buffer[text.size()] = '\0';
  return Status();
}

}  // namespace tovanel::uvc_stereo::c_api
