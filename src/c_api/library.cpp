// The library family of the C interface: version, checksums, JSON text, capture-backend
// names and the supported camera models.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "c_api/boundary.h"
#include "core/crc32_kernels.h"
#include "uvc_stereo/backend.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/models.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

#ifndef UVC_STEREO_LIBRARY_VERSION
#error "the build passes the project version as UVC_STEREO_LIBRARY_VERSION"
#endif

extern "C" {

const char* UVC_STEREO_CALL uvc_stereo_version(void) { return UVC_STEREO_LIBRARY_VERSION; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_crc32_ieee(const void* data, std::size_t length, std::uint32_t* crc) {
  constexpr const char* kFunction = "uvc_stereo_crc32_ieee";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::require(crc, kFunction, "crc"),
                                    c_api::require_items(data, length, kFunction, "data"));
      },
      [&] {
        // The kernel crc32_ieee runs, straight on the caller's bytes rather than on a copy of them.
        const detail::CrcKernel kernel = detail::active_crc_kernel(detail::CrcPolynomial::Ieee).run;
        *crc = length == 0 ? 0 : kernel(0, static_cast<const std::uint8_t*>(data), length);
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_minify_and_validate_json(const char* json, std::size_t json_length,
                                                                       char* out, std::size_t out_size,
                                                                       std::size_t* required_size) {
  constexpr const char* kFunction = "uvc_stereo_minify_and_validate_json";
  return c_api::checked_call(
      kFunction, [&] { return c_api::require_items(json, json_length, kFunction, "json"); },
      [&] {
        Result<std::string> minified =
            minify_and_validate_json(std::string_view(json_length == 0 ? "" : json, json_length));
        return minified.ok() ? c_api::copy_text(minified.value(), out, out_size, required_size, kFunction)
                             : minified.status();
      });
}

const char* UVC_STEREO_CALL uvc_stereo_opencv_backend_name(std::int32_t backend) {
  // The C++ names are string literals, so their views are NUL-terminated and live forever.
  return opencv_backend_name(static_cast<OpenCvBackend>(backend)).data();
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_supported_camera_models(uvc_stereo_camera_model_t* models,
                                                                      std::size_t capacity, std::size_t* count) {
  constexpr const char* kFunction = "uvc_stereo_supported_camera_models";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::require(count, kFunction, "count");
    if (!checked.ok()) {
      return checked;
    }
    const std::vector<CameraModelId> supported = supported_camera_models();
    *count = supported.size();
    if (capacity < supported.size()) {
      return Status(ErrorCode::InvalidArgument, std::string(kFunction) + ": capacity is " + std::to_string(capacity) +
                                                    ", the models need " + std::to_string(supported.size()));
    }
    checked = c_api::require(models, kFunction, "models");
    if (!checked.ok()) {
      return checked;
    }
    for (std::size_t i = 0; i < supported.size(); ++i) {
      models[i] = uvc_stereo_camera_model_t{supported[i].vendor_id, supported[i].product_id};
    }
    return Status();
  });
}

}  // extern "C"
