/* The JSON configuration through the C interface: written, read back, refused. */
#include <stdio.h>
#include <string.h>

#include "check.h"

enum { kUserSpace = 0x51000, kFallbackUserSpaceSize = 4096 };

static unsigned char g_before[kFallbackUserSpaceSize];
static unsigned char g_after[kFallbackUserSpaceSize];

/* The camera's fallback user space, as the rig holds it. */
static void read_user_space(const uvc_stereo_rig_t* rig, unsigned char* bytes) {
  size_t copied = 0;
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, kUserSpace, kFallbackUserSpaceSize, bytes, kFallbackUserSpaceSize, &copied));
  CHECK_EQ(copied, kFallbackUserSpaceSize);
}

static uvc_stereo_device_t* open_json_camera(uvc_stereo_rig_t* rig, test_camera* camera) {
  test_camera_init(camera, 0, "SN-JSON");
  return plug_and_open(rig, camera, UVC_STEREO_TRANSPORT_FLASH);
}

static void written_json_reads_back_minified(void) {
  static const char pretty[] = "{\n  \"baseline_mm\": 60.25,\n  \"name\": \"left rig\"\n}\n";
  static const char minified[] = "{\"baseline_mm\":60.25,\"name\":\"left rig\"}";
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = open_json_camera(rig, &camera);
  char text[256];
  size_t required = 0;
  uint16_t format_version = 99;
  unsigned char header[4];
  size_t copied = 0;

  CHECK_OK(uvc_stereo_device_write_json(device, pretty, strlen(pretty)));
  /* The record starts with its magic, "TOVA", at the start of the user space. */
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, kUserSpace, 4, header, sizeof(header), &copied));
  CHECK_EQ(copied, 4);
  CHECK(memcmp(header, "TOVA", 4) == 0);

  CHECK_OK(uvc_stereo_device_read_json(device, text, sizeof(text), &required, &format_version));
  CHECK_TEXT(text, minified);
  CHECK_EQ(required, sizeof(minified));
  CHECK_EQ(format_version, 0);

  /* A buffer one byte short gets nothing, and learns the size it needs. */
  memset(text, 'z', sizeof(text));
  required = 0;
  format_version = 99;
  CHECK_FAILS(uvc_stereo_device_read_json(device, text, sizeof(minified) - 1, &required, &format_version),
              UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_device_read_json: the buffer holds 39 bytes, the text needs 40");
  CHECK_EQ(required, sizeof(minified));
  CHECK_EQ(text[0], 'z');
  CHECK_EQ(format_version, 99);
  required = 0;
  CHECK_FAILS(uvc_stereo_device_read_json(device, NULL, 0, &required, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_device_read_json: the buffer holds 0 bytes, the text needs 40");
  CHECK_EQ(required, sizeof(minified));
  /* Exactly enough, with neither size nor version asked for. */
  memset(text, 'z', sizeof(text));
  CHECK_OK(uvc_stereo_device_read_json(device, text, sizeof(minified), NULL, NULL));
  CHECK_TEXT(text, minified);
  uvc_stereo_device_close(device);

  /* With a record in place, opening can prove the JSON transport too. */
  {
    uvc_stereo_device_list_t* list = scan_all();
    uvc_stereo_open_options_t options;
    uint32_t flags = 0;
    memset(&options, 0, sizeof(options));
    options.struct_size = sizeof(options);
    options.required_capabilities = UVC_STEREO_TRANSPORT_FLASH | UVC_STEREO_TRANSPORT_FLASH_JSON;
    device = NULL;
    CHECK_OK(uvc_stereo_open_device(list, 0, &options, &device));
    CHECK_OK(uvc_stereo_device_transport_flags(device, &flags));
    CHECK_EQ(flags, UVC_STEREO_TRANSPORT_FLASH | UVC_STEREO_TRANSPORT_FLASH_JSON);
    uvc_stereo_device_list_free(list);
  }
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void invalid_json_is_refused_with_its_offset_and_touches_nothing(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = open_json_camera(rig, &camera);
  char minify_message[128];
  char out[16];

  CHECK_OK(uvc_stereo_device_write_json(device, "{\"kept\":true}", 13));
  read_user_space(rig, g_before);
  CHECK_OK(uvc_stereo_rig_clear_calls(rig));

  CHECK_FAILS(uvc_stereo_device_write_json(device, "{\"a\": [1, 2}", 12), UVC_STEREO_ERROR_INVALID_JSON,
              "invalid JSON value at offset 11");
  /* Word for word what the minifier says of the same text. */
  CHECK_FAILS(uvc_stereo_minify_and_validate_json("{\"a\": [1, 2}", 12, out, sizeof(out), NULL),
              UVC_STEREO_ERROR_INVALID_JSON, "invalid JSON value at offset 11");
  snprintf(minify_message, sizeof(minify_message), "%s", uvc_stereo_last_error_message());
  CHECK_TEXT(minify_message, "invalid JSON value at offset 11");
  CHECK_FAILS(uvc_stereo_device_write_json(device, "", 0), UVC_STEREO_ERROR_INVALID_JSON, "json text is empty");
  CHECK_FAILS(uvc_stereo_device_write_json(device, NULL, 0), UVC_STEREO_ERROR_INVALID_JSON, "json text is empty");
  CHECK_FAILS(uvc_stereo_device_write_json(device, "[1] [2]", 7), UVC_STEREO_ERROR_INVALID_JSON,
              "unexpected trailing characters at offset 4");

  CHECK_EQ(count_calls(rig, "SonixCam_Init"), 0);
  read_user_space(rig, g_after);
  CHECK(memcmp(g_before, g_after, sizeof(g_before)) == 0);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void json_larger_than_the_user_space_is_refused_before_the_camera_is_asked(void) {
  static char big[kFallbackUserSpaceSize + 3];
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = open_json_camera(rig, &camera);
  memset(big, 'x', sizeof(big));
  big[0] = '"';
  big[sizeof(big) - 1] = '"';
  CHECK_OK(uvc_stereo_rig_clear_calls(rig));
  CHECK_FAILS(uvc_stereo_device_write_json(device, big, sizeof(big)), UVC_STEREO_ERROR_INVALID_LENGTH,
              "payload is too large");
  CHECK_EQ(count_calls(rig, "SonixCam_Init"), 0);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void flash_failures_come_through_unchanged(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = open_json_camera(rig, &camera);
  char text[64];

  /* An erased user space holds no record. */
  CHECK_FAILS(uvc_stereo_device_read_json(device, text, sizeof(text), NULL, NULL), UVC_STEREO_ERROR_BAD_MAGIC,
              "flash magic mismatch");
  CHECK_OK(uvc_stereo_device_write_json(device, "{\"a\":1}", 7));

  CHECK_OK(uvc_stereo_rig_add_fault(rig, "SonixCam_CstmReadFromSF", 1, 1, 8, false));
  CHECK_FAILS_WITH_PREFIX(uvc_stereo_device_read_json(device, text, sizeof(text), NULL, NULL),
                          UVC_STEREO_ERROR_READ_FAILED, "SonixCam_CstmReadFromSF failed: vendor_code=");

  CHECK_OK(uvc_stereo_rig_cut_power_during_write(rig, 0, 4));
  CHECK_FAILS_WITH_PREFIX(uvc_stereo_device_write_json(device, "{\"b\":2}", 7), UVC_STEREO_ERROR_WRITE_FAILED,
                          "SonixCam_WriteToSF failed: vendor_code=");
  CHECK_OK(uvc_stereo_rig_cut_power_during_erase(rig, 0, 100));
  CHECK_FAILS_WITH_PREFIX(uvc_stereo_device_write_json(device, "{\"b\":2}", 7), UVC_STEREO_ERROR_ERASE_FAILED,
                          "SonixCam_SectorEraseSF failed: vendor_code=");
  /* A worn cell under the record's magic ('T', 0x54): the write does not verify. */
  CHECK_OK(uvc_stereo_rig_set_stuck_zero_bits(rig, 0, kUserSpace, 0x04));
  CHECK_FAILS(uvc_stereo_device_write_json(device, "{\"b\":2}", 7), UVC_STEREO_ERROR_WRITE_FAILED,
              "verify_after_write failed: readback mismatch at offset 0x0 (expected=0x54, actual=0x50)");
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void json_access_waits_for_the_imu_to_close(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = open_json_camera(rig, &camera);
  char text[64];
  CHECK_OK(uvc_stereo_device_write_json(device, "{}", 2));
  CHECK_OK(uvc_stereo_device_open_imu(device));
  CHECK_FAILS(uvc_stereo_device_read_json(device, text, sizeof(text), NULL, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "IMU must be closed before flash JSON access");
  CHECK_FAILS(uvc_stereo_device_write_json(device, "{}", 2), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "IMU must be closed before flash JSON access");
  CHECK_OK(uvc_stereo_device_close_imu(device));
  CHECK_OK(uvc_stereo_device_read_json(device, text, sizeof(text), NULL, NULL));
  CHECK_TEXT(text, "{}");
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

/* A read-modify-write must not change a byte it never touched: every byte from 0x80 to 0xFF
 * inside a string (no valid UTF-8 among many of them) comes back as written, and writing back
 * what was read leaves the record as it was. */
static void every_byte_above_0x7f_inside_a_string_goes_round_unchanged(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = open_json_camera(rig, &camera);
  static const char kTail[] = "\",\"name\":\"caf\xe9\"}";
  char written[160];
  char text[256];
  size_t length = 0;
  size_t required = 0;
  unsigned value;

  memcpy(written, "{\"bytes\":\"", 10);
  length = 10;
  for (value = 0x80; value <= 0xFF; ++value) {
    written[length++] = (char)value;
  }
  memcpy(written + length, kTail, sizeof(kTail));
  length += sizeof(kTail) - 1;

  CHECK_OK(uvc_stereo_device_write_json(device, written, length));
  CHECK_OK(uvc_stereo_device_read_json(device, text, sizeof(text), &required, NULL));
  CHECK_EQ(required, length + 1);
  CHECK(memcmp(text, written, length + 1) == 0);
  for (value = 0x80; value <= 0xFF; ++value) {
    CHECK_EQ((unsigned char)text[10 + (value - 0x80)], value);
  }

  read_user_space(rig, g_before);
  CHECK_OK(uvc_stereo_device_write_json(device, text, required - 1));
  read_user_space(rig, g_after);
  CHECK(memcmp(g_before, g_after, kFallbackUserSpaceSize) == 0);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

void json_tests(void) {
  run_case("Json.WrittenJsonReadsBackMinified", written_json_reads_back_minified);
  run_case("Json.EveryByteAbove0x7fInsideAStringGoesRoundUnchanged",
           every_byte_above_0x7f_inside_a_string_goes_round_unchanged);
  run_case("Json.InvalidJsonIsRefusedWithItsOffsetAndTouchesNothing",
           invalid_json_is_refused_with_its_offset_and_touches_nothing);
  run_case("Json.JsonLargerThanTheUserSpaceIsRefusedBeforeTheCameraIsAsked",
           json_larger_than_the_user_space_is_refused_before_the_camera_is_asked);
  run_case("Json.FlashFailuresComeThroughUnchanged", flash_failures_come_through_unchanged);
  run_case("Json.JsonAccessWaitsForTheImuToClose", json_access_waits_for_the_imu_to_close);
}
