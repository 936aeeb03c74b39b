/* Opening a camera through the C interface and what an open device tells. */
#include <math.h>
#include <string.h>

#include "check.h"

static int near(double a, double b) { return fabs(a - b) < 1e-9; }

/* A report that declares a user space at 0x80000 and an IMU block of its own. */
static void reported_capability(uvc_stereo_capability_report_t* report) {
  memset(report, 0, sizeof(*report));
  report->struct_size = sizeof(*report);
  CHECK_OK(uvc_stereo_capability_report_defaults(report));
  report->capability_bits = UVC_STEREO_CAPABILITY_FLASH_USER_SPACE | UVC_STEREO_CAPABILITY_IMU;
  report->has_flash_user_space = true;
  report->flash_user_space_start = 0x80000;
  report->flash_user_space_size = 0x8000;
  report->has_imu = true;
  memcpy(report->imu.model, "ICM42688", 9);
  report->imu.xu_unit = 6;
  report->imu.xu_selector = 3;
  report->imu.xu_length = 24;
  report->imu.decimal_exponent = 1;
  report->imu.temperature_offset_c = 20.0;
  report->imu.temperature_lsb_per_c = 64.0;
  report->imu.accel_lsb_per_g = 4096.0;
  report->imu.gyro_lsb_per_dps = 32.8;
}

/* A camera that answers that report, with its IMU where the report says. */
static void reporting_camera(test_camera* camera, uvc_stereo_capability_report_t* report, const char* serial) {
  reported_capability(report);
  test_camera_init(camera, 2, serial);
  camera->camera.capability = report;
  camera->camera.user_space_address = 0x80000;
  camera->camera.user_space_size = 0x8000;
  camera->camera.imu_unit = 6;
  camera->camera.imu_selector = 3;
  camera->camera.imu_length = 24;
}

static void a_reporting_camera_opens_with_its_report(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_capability_report_t report;
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_capability_info_t capability;
  uvc_stereo_flash_config_t flash;
  uvc_stereo_imu_transport_t transport;
  uvc_stereo_imu_conversion_options_t options;
  uvc_stereo_device_info_t info;
  uint32_t flags = 99;
  bool has = false;

  reporting_camera(&camera, &report, "SN-REPORTED");
  device = plug_and_open(rig, &camera, UVC_STEREO_TRANSPORT_FLASH);
  CHECK(device != NULL);
  /* The caller's report was copied when the camera was added. */
  memset(&report, 0, sizeof(report));

  memset(&capability, 0, sizeof(capability));
  capability.struct_size = sizeof(capability);
  CHECK_OK(uvc_stereo_device_capability_info(device, &capability));
  CHECK_EQ(capability.source, UVC_STEREO_CAPABILITY_SOURCE_REPORTED);
  CHECK_TEXT(capability.message, "");
  CHECK(capability.report != NULL);
  if (capability.report != NULL) {
    CHECK_EQ(capability.report->struct_size, sizeof(uvc_stereo_capability_report_t));
    CHECK_EQ(capability.report->major_version, 1);
    CHECK_EQ(capability.report->minor_version, 0);
    CHECK_EQ(capability.report->capability_bits, 0x06);
    CHECK(capability.report->has_flash_user_space);
    CHECK_EQ(capability.report->flash_user_space_start, 0x80000);
    CHECK_EQ(capability.report->flash_user_space_size, 0x8000);
    CHECK(capability.report->has_imu);
    CHECK_TEXT(capability.report->imu.model, "ICM42688");
    CHECK_EQ(capability.report->imu.xu_unit, 6);
    CHECK_EQ(capability.report->imu.xu_selector, 3);
    CHECK_EQ(capability.report->imu.xu_length, 24);
    CHECK_EQ(capability.report->imu.decimal_exponent, 1);
    CHECK(near(capability.report->imu.temperature_offset_c, 20.0));
    CHECK(near(capability.report->imu.temperature_lsb_per_c, 64.0));
    CHECK(near(capability.report->imu.accel_lsb_per_g, 4096.0));
    CHECK(near(capability.report->imu.gyro_lsb_per_dps, 32.8));
  }

  memset(&flash, 0, sizeof(flash));
  flash.struct_size = sizeof(flash);
  CHECK_OK(uvc_stereo_device_flash_config(device, &flash));
  CHECK_TEXT(flash.vidpid, "0c456368");
  /* The camera is selected by vidpid and serial number; the enumeration is not narrowed. */
  CHECK_EQ(flash.vendor_id, 0);
  CHECK_EQ(flash.product_id, 0);
  CHECK(!flash.auto_select);
  CHECK_TEXT(flash.serial_number, "SN-REPORTED");
  CHECK_TEXT(flash.device_path, camera.device_path);
  CHECK_EQ(flash.user_space_address, 0x80000);
  CHECK_EQ(flash.user_space_size, 0x8000);
  CHECK_EQ(flash.erase_sector_size, 4096);
  CHECK_EQ(flash.magic, 0x41564F54u);
  CHECK_EQ(flash.min_header_size, 16);
  CHECK_EQ(flash.max_header_size, 256);
  CHECK(flash.verify_crc);
  CHECK(flash.verify_after_write);

  memset(&transport, 0, sizeof(transport));
  transport.struct_size = sizeof(transport);
  CHECK_OK(uvc_stereo_device_imu_transport(device, &transport));
  CHECK_EQ(transport.xu_unit, 6);
  CHECK_EQ(transport.xu_selector, 3);
  CHECK_EQ(transport.xu_length, 24);

  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  CHECK_OK(uvc_stereo_device_imu_conversion_options(device, &options));
  CHECK(near(options.temperature_offset_c, 20.0));
  CHECK(near(options.temperature_lsb_per_c, 64.0));
  CHECK(near(options.accel_lsb_per_g, 4096.0));
  CHECK(near(options.gyro_lsb_per_dps, 32.8));

  CHECK_OK(uvc_stereo_device_transport_flags(device, &flags));
  CHECK_EQ(flags, UVC_STEREO_TRANSPORT_FLASH);
  CHECK_OK(uvc_stereo_device_has_flash_transport(device, &has));
  CHECK(has);
  CHECK_OK(uvc_stereo_device_has_imu_transport(device, &has));
  CHECK(!has);

  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  CHECK_OK(uvc_stereo_device_info(device, &info));
  CHECK_TEXT(info.serial_number, "SN-REPORTED");
  CHECK_TEXT(info.device_path, camera.device_path);
  CHECK_EQ(info.product_id, 0x6368);

  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void a_camera_without_a_report_opens_on_the_fallback_defaults(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_capability_info_t capability;
  uvc_stereo_flash_config_t flash;
  test_camera_init(&camera, 3, "SN-FALLBACK");
  device = plug_and_open(rig, &camera, 0);
  memset(&capability, 0, sizeof(capability));
  capability.struct_size = sizeof(capability);
  CHECK_OK(uvc_stereo_device_capability_info(device, &capability));
  CHECK_EQ(capability.source, UVC_STEREO_CAPABILITY_SOURCE_FALLBACK);
  CHECK(capability.report == NULL);
  CHECK(capability.message != NULL && capability.message[0] != '\0');
  memset(&flash, 0, sizeof(flash));
  flash.struct_size = sizeof(flash);
  CHECK_OK(uvc_stereo_device_flash_config(device, &flash));
  CHECK_EQ(flash.user_space_address, 0x51000);
  CHECK_EQ(flash.user_space_size, 4096);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void a_hand_made_device_info_opens_its_camera(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  test_camera b;
  uvc_stereo_device_info_t wanted;
  uvc_stereo_device_info_t got;
  uvc_stereo_device_t* device = NULL;
  test_camera_init(&a, 0, "SN-A");
  test_camera_init(&b, 0, "SN-B");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &b.camera, NULL));

  memset(&wanted, 0, sizeof(wanted));
  wanted.struct_size = sizeof(wanted);
  wanted.vendor_id = 0x0C45;
  wanted.product_id = 0x6366;
  wanted.serial_number = "SN-B";
  wanted.backend_index_count = 1;
  wanted.backend_indices[0].backend = UVC_STEREO_BACKEND_MSMF;
  wanted.backend_indices[0].index = 3;
  CHECK_OK(uvc_stereo_open_device_info(&wanted, NULL, &device));
  memset(&got, 0, sizeof(got));
  got.struct_size = sizeof(got);
  CHECK_OK(uvc_stereo_device_info(device, &got));
  CHECK_TEXT(got.serial_number, "SN-B");
  CHECK_TEXT(got.device_path, "");
  CHECK_TEXT(got.friendly_name, "");
  CHECK_EQ(got.backend_index_count, 1);
  CHECK_EQ(got.backend_indices[0].backend, UVC_STEREO_BACKEND_MSMF);
  CHECK_EQ(got.backend_indices[0].index, 3);
  uvc_stereo_device_close(device);

  /* A camera outside the supported table is refused before any camera is asked. */
  device = NULL;
  wanted.vendor_id = 0x046D;
  wanted.product_id = 0x0825;
  CHECK_OK(uvc_stereo_rig_clear_calls(rig));
  CHECK_FAILS(uvc_stereo_open_device_info(&wanted, NULL, &device), UVC_STEREO_ERROR_NOT_SUPPORTED,
              "selected device vid/pid is not in the scan whitelist");
  CHECK(device == NULL);
  CHECK_EQ(count_calls(rig, "SonixCam_Init"), 0);
  wanted.vendor_id = 0;
  CHECK_FAILS(uvc_stereo_open_device_info(&wanted, NULL, &device), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "selected device has invalid vid/pid");
  finish_rig(rig);
}

static void open_refuses_unknown_capability_bits_and_bad_indices(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_open_options_t options;
  test_camera_init(&a, 0, "SN-A");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  list = scan_all();
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  options.required_capabilities = 8;
  CHECK_FAILS(uvc_stereo_open_device(list, 0, &options, &device), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "open_device required_capabilities contains unknown bits");
  CHECK(device == NULL);
  CHECK_FAILS(uvc_stereo_open_device(list, 1, NULL, &device), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_open_device: index 1 is out of range (1 devices)");
  CHECK(device == NULL);

  /* An open device outlives its list and works on. */
  CHECK_OK(uvc_stereo_open_device(list, 0, NULL, &device));
  uvc_stereo_device_list_free(list);
  {
    uint32_t flags = 99;
    CHECK_OK(uvc_stereo_device_transport_flags(device, &flags));
    CHECK_EQ(flags, 0);
  }
  uvc_stereo_device_close(device);
  /* Closing and freeing nothing is harmless. */
  uvc_stereo_device_close(NULL);
  uvc_stereo_device_list_free(NULL);
  uvc_stereo_rig_call_log_free(NULL);
  uvc_stereo_string_list_free(NULL);
  finish_rig(rig);
  uvc_stereo_rig_destroy(NULL);
}

static void an_unplugged_camera_fails_to_open(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_open_options_t options;
  test_camera a;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* device = NULL;
  test_camera_init(&a, 0, "SN-A");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  list = scan_all();
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  options.required_capabilities = UVC_STEREO_TRANSPORT_FLASH;
  CHECK_OK(uvc_stereo_rig_unplug(rig, 0));
  CHECK_FAILS(uvc_stereo_open_device(list, 0, &options, &device), UVC_STEREO_ERROR_DEVICE_UNAVAILABLE,
              "SonixCam_Init failed: vendor_code=ecNotFindDevice(4)");
  CHECK(device == NULL);
  CHECK_OK(uvc_stereo_rig_plug(rig, 0));
  CHECK_OK(uvc_stereo_open_device(list, 0, &options, &device));
  uvc_stereo_device_close(device);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

void device_tests(void) {
  run_case("Device.AReportingCameraOpensWithItsReport", a_reporting_camera_opens_with_its_report);
  run_case("Device.ACameraWithoutAReportOpensOnTheFallbackDefaults",
           a_camera_without_a_report_opens_on_the_fallback_defaults);
  run_case("Device.AHandMadeDeviceInfoOpensItsCamera", a_hand_made_device_info_opens_its_camera);
  run_case("Device.OpenRefusesUnknownCapabilityBitsAndBadIndices",
           open_refuses_unknown_capability_bits_and_bad_indices);
  run_case("Device.AnUnpluggedCameraFailsToOpen", an_unplugged_camera_fails_to_open);
}
