/* The records' defaults and the IMU conversion without a device. */
#include <math.h>
#include <string.h>

#include "check.h"

static int near(double a, double b) { return fabs(a - b) < 1e-9; }

static void conversion_options_default_to_the_camera_scales(void) {
  uvc_stereo_imu_conversion_options_t options;
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  CHECK_OK(uvc_stereo_imu_conversion_options_defaults(&options));
  CHECK(near(options.temperature_offset_c, 25.0));
  CHECK(near(options.temperature_lsb_per_c, 128.0));
  CHECK(near(options.accel_lsb_per_g, 2048.0));
  CHECK(near(options.gyro_lsb_per_dps, 16.4));
}

static void a_raw_sample_converts_to_physical_units(void) {
  uvc_stereo_imu_conversion_options_t options;
  uvc_stereo_imu_sample_t raw;
  uvc_stereo_imu_converted_t converted;
  memset(&options, 0, sizeof(options));
  memset(&raw, 0, sizeof(raw));
  memset(&converted, 0, sizeof(converted));
  options.struct_size = sizeof(options);
  raw.struct_size = sizeof(raw);
  converted.struct_size = sizeof(converted);
  CHECK_OK(uvc_stereo_imu_conversion_options_defaults(&options));
  raw.host_timestamp_ns = 123456789012345ull;
  raw.sample_counter = 77;
  raw.temperature_raw = 128 * 6;
  raw.accel_raw[0] = 1024;
  raw.accel_raw[1] = -2048;
  raw.accel_raw[2] = 4096;
  raw.gyro_raw[0] = 164;
  raw.gyro_raw[1] = -82;
  raw.gyro_raw[2] = 0;
  CHECK_OK(uvc_stereo_convert_imu(&raw, &options, &converted));
  CHECK_EQ(converted.host_timestamp_ns, 123456789012345ull);
  CHECK(near(converted.temperature_c, 31.0));
  CHECK(near(converted.accel_g[0], 0.5));
  CHECK(near(converted.accel_g[1], -1.0));
  CHECK(near(converted.accel_g[2], 2.0));
  CHECK(near(converted.gyro_dps[0], 10.0));
  CHECK(near(converted.gyro_dps[1], -5.0));
  CHECK(near(converted.gyro_dps[2], 0.0));

  /* A zero accelerometer scale turns it off; a zero temperature scale is refused. */
  options.accel_lsb_per_g = 0.0;
  CHECK_OK(uvc_stereo_convert_imu(&raw, &options, &converted));
  CHECK(near(converted.accel_g[0], 0.0) && near(converted.accel_g[2], 0.0));
  options.temperature_lsb_per_c = 0.0;
  CHECK_FAILS(uvc_stereo_convert_imu(&raw, &options, &converted), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "temperature_lsb_per_c must not be zero");
}

static void a_capability_report_defaults_to_version_one_without_blocks(void) {
  uvc_stereo_capability_report_t report;
  memset(&report, 0x5A, sizeof(report));
  report.struct_size = sizeof(report);
  CHECK_OK(uvc_stereo_capability_report_defaults(&report));
  CHECK_EQ(report.struct_size, sizeof(report));
  CHECK_EQ(report.major_version, 1);
  CHECK_EQ(report.minor_version, 0);
  CHECK_EQ(report.capability_bits, 0);
  CHECK(!report.has_flash_user_space);
  CHECK(!report.has_imu);
  CHECK_TEXT(report.imu.model, "");
  CHECK(near(report.imu.accel_lsb_per_g, 2048.0));
  CHECK(near(report.imu.gyro_lsb_per_dps, 16.4));
  CHECK(near(report.imu.temperature_lsb_per_c, 128.0));
  CHECK(near(report.imu.temperature_offset_c, 25.0));
  CHECK_EQ(UVC_STEREO_CAPABILITY_FLASH_USER_SPACE, 0x02);
  CHECK_EQ(UVC_STEREO_CAPABILITY_IMU, 0x04);
}

static void a_rig_camera_defaults_to_a_supported_model_without_descriptors(void) {
  uvc_stereo_rig_camera_t camera;
  unsigned i;
  int all_zero = 1;
  memset(&camera, 0x5A, sizeof(camera));
  camera.struct_size = sizeof(camera);
  CHECK_OK(uvc_stereo_rig_camera_defaults(&camera));
  CHECK_EQ(camera.vendor_id, 0x0C45);
  CHECK_EQ(camera.product_id, 0x6366);
  CHECK_EQ(camera.descriptor_order, UVC_STEREO_DESCRIPTOR_BIG_ENDIAN);
  CHECK_TEXT(camera.device_path, "");
  CHECK_TEXT(camera.device_name, "");
  CHECK(camera.product_string == NULL);
  CHECK(camera.descriptor_3 == NULL);
  CHECK(camera.serial_number == NULL);
  CHECK_TEXT(camera.firmware_version, "V1.0.0");
  CHECK_EQ(camera.flash_type, 1);
  CHECK_EQ(camera.flash_size, 0x100000);
  CHECK_EQ(camera.flash_sector_size, 4096);
  CHECK_EQ(camera.user_space_address, 0x51000);
  CHECK_EQ(camera.user_space_size, 0x10000);
  CHECK(camera.capability == NULL);
  for (i = 0; i < 64; ++i) {
    all_zero = all_zero && camera.capability_report[i] == 0;
  }
  CHECK(all_zero);
  CHECK_EQ(camera.imu_unit, 4);
  CHECK_EQ(camera.imu_selector, 10);
  CHECK_EQ(camera.imu_length, 17);
  CHECK_EQ(camera.imu_motion, UVC_STEREO_IMU_AT_REST);
  CHECK_EQ(camera.imu_first_counter, 0);
  CHECK_EQ(camera.imu_counter_step, 1);
  CHECK(near(camera.imu_temperature_c, 31.5));
  CHECK_EQ(camera.imu_seed, 1);
  CHECK_EQ(camera.node_access, UVC_STEREO_NODE_ACCESS_ALLOWED);
}

void record_tests(void) {
  run_case("Records.ConversionOptionsDefaultToTheCameraScales", conversion_options_default_to_the_camera_scales);
  run_case("Records.ARawSampleConvertsToPhysicalUnits", a_raw_sample_converts_to_physical_units);
  run_case("Records.ACapabilityReportDefaultsToVersionOneWithoutBlocks",
           a_capability_report_defaults_to_version_one_without_blocks);
  run_case("Records.ARigCameraDefaultsToASupportedModelWithoutDescriptors",
           a_rig_camera_defaults_to_a_supported_model_without_descriptors);
}
