/* The simulated rig through the C interface: flash, descriptors, capability answers, sessions. */
#include <string.h>

#include "check.h"

static void flash_starts_erased_and_takes_what_is_set(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  unsigned char bytes[8];
  static const unsigned char pattern[4] = {0x12, 0x34, 0x56, 0x78};
  size_t copied = 0;
  bool is_protected = false;
  test_camera_init(&camera, 0, "SN-FLASH");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));

  memset(bytes, 0, sizeof(bytes));
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, bytes, sizeof(bytes), &copied));
  CHECK_EQ(copied, 8);
  CHECK(bytes[0] == 0xFF && bytes[7] == 0xFF);

  CHECK_OK(uvc_stereo_rig_set_flash(rig, 0, 0x51002, pattern, sizeof(pattern)));
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, bytes, sizeof(bytes), NULL));
  CHECK(bytes[1] == 0xFF && bytes[2] == 0x12 && bytes[5] == 0x78 && bytes[6] == 0xFF);
  CHECK_OK(uvc_stereo_rig_set_flash(rig, 0, 0x51000, NULL, 0));

  /* A range that runs off the 1 MiB chip is cut at its end. */
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0xFFFFC, 8, bytes, sizeof(bytes), &copied));
  CHECK_EQ(copied, 4);
  CHECK_FAILS(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, bytes, 4, &copied), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_flash: the buffer holds 4 bytes, the range is 8");
  CHECK_FAILS(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, NULL, 8, &copied), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_flash: buffer is null");
  CHECK_FAILS(uvc_stereo_rig_flash(rig, 1, 0x51000, 8, bytes, 8, &copied), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_flash: the rig has no camera 1 (it has 1)");
  CHECK_FAILS(uvc_stereo_rig_set_flash(rig, 0, 0x51000, NULL, 4), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_set_flash: bytes is null");

  /* A camera powers up write-protected. */
  CHECK_OK(uvc_stereo_rig_write_protected(rig, 0, &is_protected));
  CHECK(is_protected);
  finish_rig(rig);
}

static void descriptors_in_either_byte_order_give_the_same_camera(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_info_t info;
  test_camera_init(&camera, 1, "SN-LE");
  camera.camera.descriptor_order = UVC_STEREO_DESCRIPTOR_LITTLE_ENDIAN;
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  list = scan_all();
  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  CHECK_OK(uvc_stereo_device_list_get(list, 0, &info));
  CHECK_EQ(info.vendor_id, 0x0C45);
  CHECK_EQ(info.product_id, 0x6367);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

static int32_t source_of(void) {
  uvc_stereo_device_list_t* list = scan_all();
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_capability_info_t capability;
  int32_t source = -1;
  CHECK_OK(uvc_stereo_open_device(list, 0, NULL, &device));
  memset(&capability, 0, sizeof(capability));
  capability.struct_size = sizeof(capability);
  CHECK_OK(uvc_stereo_device_capability_info(device, &capability));
  source = capability.source;
  uvc_stereo_device_close(device);
  uvc_stereo_device_list_free(list);
  return source;
}

static void the_capability_answer_can_change_while_plugged(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_capability_report_t report;
  uint8_t zeros[64];
  test_camera_init(&camera, 2, "SN-CAP");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  CHECK_EQ(source_of(), UVC_STEREO_CAPABILITY_SOURCE_FALLBACK);

  memset(&report, 0, sizeof(report));
  report.struct_size = sizeof(report);
  CHECK_OK(uvc_stereo_capability_report_defaults(&report));
  report.capability_bits = UVC_STEREO_CAPABILITY_FLASH_USER_SPACE;
  report.has_flash_user_space = true;
  report.flash_user_space_start = 0x51000;
  report.flash_user_space_size = 0x10000;
  CHECK_OK(uvc_stereo_rig_set_capability_report(rig, 0, &report));
  CHECK_EQ(source_of(), UVC_STEREO_CAPABILITY_SOURCE_REPORTED);

  memset(zeros, 0, sizeof(zeros));
  CHECK_OK(uvc_stereo_rig_set_capability_bytes(rig, 0, zeros));
  CHECK_EQ(source_of(), UVC_STEREO_CAPABILITY_SOURCE_FALLBACK);
  finish_rig(rig);
}

static void without_cameras_a_scan_is_empty_either_way(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_device_list_t* list = NULL;
  size_t count = 99;
  CHECK_OK(uvc_stereo_rig_set_init_fails_without_cameras(rig, false));
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 0);
  uvc_stereo_device_list_free(list);
  /* Starting a session now succeeds, so the scan closes it again. */
  CHECK_EQ(count_calls(rig, "SonixCam_UnInit"), 1);
  finish_rig(rig);
}

static void the_newest_rig_is_in_force(void) {
  uvc_stereo_rig_t* older = test_rig();
  uvc_stereo_rig_t* newer = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  size_t count = 99;
  test_camera_init(&camera, 0, "SN-OLD");
  CHECK_OK(uvc_stereo_rig_add_camera(older, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 0);
  uvc_stereo_device_list_free(list);
  finish_rig(older);
  test_camera_init(&camera, 0, "SN-NEW");
  CHECK_OK(uvc_stereo_rig_add_camera(newer, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 1);
  uvc_stereo_device_list_free(list);
  finish_rig(newer);
}

static void a_write_outside_the_cameras_user_space_is_a_violation(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_capability_report_t report;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_string_list_t* violations = NULL;
  size_t count = 0;
  size_t i;
  const char* text = NULL;
  /* The report sends the SDK to 0x80000, where this camera allows no writes. */
  memset(&report, 0, sizeof(report));
  report.struct_size = sizeof(report);
  CHECK_OK(uvc_stereo_capability_report_defaults(&report));
  report.capability_bits = UVC_STEREO_CAPABILITY_FLASH_USER_SPACE;
  report.has_flash_user_space = true;
  report.flash_user_space_start = 0x80000;
  report.flash_user_space_size = 0x8000;
  test_camera_init(&camera, 2, "SN-OUTSIDE");
  camera.camera.capability = &report;
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_write_json(device, "{}", 2));
  uvc_stereo_device_close(device);

  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_OK(uvc_stereo_string_list_count(violations, &count));
  CHECK(count >= 1);
  for (i = 0; i < count; ++i) {
    text = NULL;
    CHECK_OK(uvc_stereo_string_list_get(violations, i, &text));
    CHECK(text != NULL && strstr(text, "outside its user space [0x00051000, 0x00061000)") != NULL);
  }
  uvc_stereo_string_list_free(violations);
  uvc_stereo_rig_destroy(rig);
}

static void an_empty_violation_list_has_no_entries(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_string_list_t* violations = NULL;
  const char* text = NULL;
  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_FAILS(uvc_stereo_string_list_get(violations, 0, &text), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_string_list_get: index 0 is out of range (0 texts)");
  CHECK(text == NULL);
  uvc_stereo_string_list_free(violations);
  finish_rig(rig);
}

void rig_tests(void) {
  run_case("Rig.FlashStartsErasedAndTakesWhatIsSet", flash_starts_erased_and_takes_what_is_set);
  run_case("Rig.DescriptorsInEitherByteOrderGiveTheSameCamera", descriptors_in_either_byte_order_give_the_same_camera);
  run_case("Rig.TheCapabilityAnswerCanChangeWhilePlugged", the_capability_answer_can_change_while_plugged);
  run_case("Rig.WithoutCamerasAScanIsEmptyEitherWay", without_cameras_a_scan_is_empty_either_way);
  run_case("Rig.TheNewestRigIsInForce", the_newest_rig_is_in_force);
  run_case("Rig.AWriteOutsideTheCamerasUserSpaceIsAViolation", a_write_outside_the_cameras_user_space_is_a_violation);
  run_case("Rig.AnEmptyViolationListHasNoEntries", an_empty_violation_list_has_no_entries);
}
