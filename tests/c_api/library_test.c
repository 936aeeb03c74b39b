/* Errors, the version, checksums, JSON text, capture-backend names and the model table. */
#include <stdio.h>
#include <string.h>

#include "check.h"

static void error_names_are_the_cpp_names(void) {
  static const char* const names[] = {
      "Ok",          "InvalidArgument", "PlatformError",      "DeviceUnavailable", "ReadFailed",    "WriteFailed",
      "EraseFailed", "BadMagic",        "UnsupportedVersion", "InvalidHeader",     "InvalidLength", "ChecksumMismatch",
      "InvalidJson", "InternalError",   "NotSupported"};
  int code;
  for (code = 0; code <= UVC_STEREO_ERROR_NOT_SUPPORTED; ++code) {
    CHECK_TEXT(uvc_stereo_error_name(code), names[code]);
  }
  CHECK_TEXT(uvc_stereo_error_name(15), "Unknown");
  CHECK_TEXT(uvc_stereo_error_name(-1), "Unknown");
  CHECK_EQ(UVC_STEREO_ERROR_INVALID_JSON, 12);
  CHECK_EQ(UVC_STEREO_ERROR_INTERNAL_ERROR, 13);
}

static void the_last_failure_stays_until_cleared_and_success_leaves_it(void) {
  uint32_t crc = 0;
  uvc_stereo_clear_last_error();
  CHECK_EQ(uvc_stereo_last_error_code(), UVC_STEREO_OK);
  CHECK_TEXT(uvc_stereo_last_error_message(), "");
  CHECK_FAILS(uvc_stereo_crc32_ieee(NULL, 3, &crc), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_crc32_ieee: data is null");
  CHECK_OK(uvc_stereo_crc32_ieee("abc", 3, &crc));
  CHECK_EQ(uvc_stereo_last_error_code(), UVC_STEREO_ERROR_INVALID_ARGUMENT);
  CHECK_TEXT(uvc_stereo_last_error_message(), "uvc_stereo_crc32_ieee: data is null");
  uvc_stereo_clear_last_error();
  CHECK_EQ(uvc_stereo_last_error_code(), UVC_STEREO_OK);
  CHECK_TEXT(uvc_stereo_last_error_message(), "");
}

static void the_version_is_the_headers(void) {
  char built[32];
  snprintf(built, sizeof(built), "%d.%d.%d", UVC_STEREO_VERSION_MAJOR, UVC_STEREO_VERSION_MINOR,
           UVC_STEREO_VERSION_PATCH);
  CHECK_TEXT(uvc_stereo_version(), UVC_STEREO_VERSION_STRING);
  CHECK_TEXT(uvc_stereo_version(), built);
}

static void crc32_ieee_matches_the_check_value(void) {
  static const char check_input[] = "123456789";
  uint32_t crc = 1;
  CHECK_OK(uvc_stereo_crc32_ieee(check_input, 9, &crc));
  CHECK_EQ(crc, 0xCBF43926u);
  crc = 1;
  CHECK_OK(uvc_stereo_crc32_ieee(NULL, 0, &crc));
  CHECK_EQ(crc, 0);
  CHECK_FAILS(uvc_stereo_crc32_ieee(check_input, 9, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_crc32_ieee: crc is null");
}

static void minify_copies_the_text_and_reports_its_size(void) {
  static const char pretty[] = " {\n  \"a\" : [1, 2],\n  \"b\": \"x y\"\n}\n";
  char out[64];
  size_t required = 0;
  memset(out, 'z', sizeof(out));
  CHECK_OK(uvc_stereo_minify_and_validate_json(pretty, strlen(pretty), out, sizeof(out), &required));
  CHECK_TEXT(out, "{\"a\":[1,2],\"b\":\"x y\"}");
  CHECK_EQ(required, strlen("{\"a\":[1,2],\"b\":\"x y\"}") + 1);

  /* Too small, by one byte: nothing copied, the size still reported. */
  memset(out, 'z', sizeof(out));
  required = 0;
  CHECK_FAILS(uvc_stereo_minify_and_validate_json(pretty, strlen(pretty), out, 21, &required),
              UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_minify_and_validate_json: the buffer holds 21 bytes, the text needs 22");
  CHECK_EQ(required, 22);
  CHECK_EQ(out[0], 'z');
  /* Asking for the size only. */
  required = 0;
  CHECK_FAILS(uvc_stereo_minify_and_validate_json(pretty, strlen(pretty), NULL, 0, &required),
              UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_minify_and_validate_json: the buffer holds 0 bytes, the text needs 22");
  CHECK_EQ(required, 22);
  CHECK_FAILS(uvc_stereo_minify_and_validate_json(pretty, strlen(pretty), NULL, 5, &required),
              UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_minify_and_validate_json: buffer is null but buffer_size is 5");
  /* Exactly enough, and without the size out-pointer. */
  CHECK_OK(uvc_stereo_minify_and_validate_json("[ ]", 3, out, 3, NULL));
  CHECK_TEXT(out, "[]");
  /* Only the given length is read. */
  CHECK_OK(uvc_stereo_minify_and_validate_json("1 garbage", 1, out, sizeof(out), NULL));
  CHECK_TEXT(out, "1");
}

static void minify_refuses_invalid_json_with_the_cpp_messages(void) {
  char out[64];
  CHECK_FAILS(uvc_stereo_minify_and_validate_json("", 0, out, sizeof(out), NULL), UVC_STEREO_ERROR_INVALID_JSON,
              "json text is empty");
  CHECK_FAILS(uvc_stereo_minify_and_validate_json(NULL, 0, out, sizeof(out), NULL), UVC_STEREO_ERROR_INVALID_JSON,
              "json text is empty");
  CHECK_FAILS(uvc_stereo_minify_and_validate_json("{\"a\": [1, 2}", 12, out, sizeof(out), NULL),
              UVC_STEREO_ERROR_INVALID_JSON, "invalid JSON value at offset 11");
  CHECK_FAILS(uvc_stereo_minify_and_validate_json("{} x", 4, out, sizeof(out), NULL), UVC_STEREO_ERROR_INVALID_JSON,
              "unexpected trailing characters at offset 3");
  CHECK_FAILS(uvc_stereo_minify_and_validate_json(NULL, 4, out, sizeof(out), NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_minify_and_validate_json: json is null");
}

static void backend_names_are_opencvs(void) {
  CHECK_TEXT(uvc_stereo_opencv_backend_name(UVC_STEREO_BACKEND_V4L2), "CAP_V4L2");
  CHECK_TEXT(uvc_stereo_opencv_backend_name(UVC_STEREO_BACKEND_DSHOW), "CAP_DSHOW");
  CHECK_TEXT(uvc_stereo_opencv_backend_name(UVC_STEREO_BACKEND_MSMF), "CAP_MSMF");
  CHECK_TEXT(uvc_stereo_opencv_backend_name(UVC_STEREO_BACKEND_GSTREAMER), "CAP_GSTREAMER");
  CHECK_TEXT(uvc_stereo_opencv_backend_name(0), "CAP_UNKNOWN");
  CHECK_TEXT(uvc_stereo_opencv_backend_name(-700), "CAP_UNKNOWN");
  CHECK_EQ(UVC_STEREO_BACKEND_DSHOW, 700);
  CHECK_EQ(UVC_STEREO_BACKEND_MSMF, 1400);
}

static void the_supported_models_are_the_five_products(void) {
  uvc_stereo_camera_model_t models[8];
  size_t count = 0;
  unsigned i;
  CHECK_FAILS(uvc_stereo_supported_camera_models(NULL, 0, &count), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_supported_camera_models: capacity is 0, the models need 5");
  CHECK_EQ(count, 5);
  count = 0;
  CHECK_FAILS(uvc_stereo_supported_camera_models(models, 4, &count), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_supported_camera_models: capacity is 4, the models need 5");
  CHECK_EQ(count, 5);
  CHECK_OK(uvc_stereo_supported_camera_models(models, 8, &count));
  CHECK_EQ(count, 5);
  for (i = 0; i < 5; ++i) {
    CHECK_EQ(models[i].vendor_id, 0x0C45);
    CHECK_EQ(models[i].product_id, 0x6366 + i);
  }
  CHECK_FAILS(uvc_stereo_supported_camera_models(models, 8, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_supported_camera_models: count is null");
}

void library_tests(void) {
  run_case("Library.ErrorNamesAreTheCppNames", error_names_are_the_cpp_names);
  run_case("Library.TheLastFailureStaysUntilClearedAndSuccessLeavesIt",
           the_last_failure_stays_until_cleared_and_success_leaves_it);
  run_case("Library.TheVersionIsTheHeaders", the_version_is_the_headers);
  run_case("Library.Crc32IeeeMatchesTheCheckValue", crc32_ieee_matches_the_check_value);
  run_case("Library.MinifyCopiesTheTextAndReportsItsSize", minify_copies_the_text_and_reports_its_size);
  run_case("Library.MinifyRefusesInvalidJsonWithTheCppMessages", minify_refuses_invalid_json_with_the_cpp_messages);
  run_case("Library.BackendNamesAreOpenCvs", backend_names_are_opencvs);
  run_case("Library.TheSupportedModelsAreTheFiveProducts", the_supported_models_are_the_five_products);
}
