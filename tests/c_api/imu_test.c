/* The IMU through the C interface: opening, reading one sample or many, converting. */
#include <math.h>
#include <string.h>

#include "check.h"

enum { kBatch = 50 };

static uvc_stereo_imu_sample_t g_samples[kBatch];

static void prepare_samples(void) {
  size_t i;
  memset(g_samples, 0, sizeof(g_samples));
  for (i = 0; i < kBatch; ++i) {
    g_samples[i].struct_size = sizeof(g_samples[i]);
  }
}

static void samples_come_in_counter_order_and_convert_to_gravity(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_imu_sample_t sample;
  uvc_stereo_imu_converted_t converted;
  size_t read = 999;
  size_t i;
  uint32_t next = 0;
  uint32_t flags = 0;
  bool has = false;

  test_camera_init(&camera, 2, "SN-IMU");
  camera.camera.imu_first_counter = 100;
  camera.camera.imu_counter_step = 3;
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  CHECK_OK(uvc_stereo_device_open_imu(device)); /* a no-op when open */
  CHECK_OK(uvc_stereo_device_transport_flags(device, &flags));
  CHECK((flags & UVC_STEREO_TRANSPORT_IMU) != 0);
  CHECK_OK(uvc_stereo_device_has_imu_transport(device, &has));
  CHECK(has);

  CHECK_OK(uvc_stereo_rig_next_imu_counter(rig, 0, &next));
  CHECK_EQ(next, 100);
  memset(&sample, 0, sizeof(sample));
  sample.struct_size = sizeof(sample);
  CHECK_OK(uvc_stereo_device_read_imu(device, &sample));
  CHECK_EQ(sample.sample_counter, 100);
  CHECK(sample.host_timestamp_ns != 0);
  CHECK_OK(uvc_stereo_rig_next_imu_counter(rig, 0, &next));
  CHECK_EQ(next, 103);

  prepare_samples();
  CHECK_OK(uvc_stereo_device_read_imu_samples(device, g_samples, kBatch, &read));
  CHECK_EQ(read, kBatch);
  for (i = 0; i < kBatch; ++i) {
    CHECK_EQ(g_samples[i].sample_counter, 103 + 3 * i);
    CHECK(i == 0 || g_samples[i].host_timestamp_ns >= g_samples[i - 1].host_timestamp_ns);
  }
  CHECK_OK(uvc_stereo_device_read_imu_samples(device, NULL, 0, &read));
  CHECK_EQ(read, 0);

  memset(&converted, 0, sizeof(converted));
  converted.struct_size = sizeof(converted);
  CHECK_OK(uvc_stereo_device_convert_imu(device, &g_samples[kBatch - 1], &converted));
  CHECK_EQ(converted.host_timestamp_ns, g_samples[kBatch - 1].host_timestamp_ns);
  CHECK(fabs(converted.accel_g[2] - 1.0) < 0.1);
  CHECK(fabs(converted.temperature_c - 31.5) < 0.5);
  CHECK(fabs(converted.accel_g[2] - g_samples[kBatch - 1].accel_raw[2] / 2048.0) < 1e-12);

  CHECK_OK(uvc_stereo_device_close_imu(device));
  CHECK_OK(uvc_stereo_device_close_imu(device));
  CHECK_FAILS(uvc_stereo_device_read_imu(device, &sample), UVC_STEREO_ERROR_INVALID_ARGUMENT, "IMU is not open");
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void reading_before_opening_is_refused(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  size_t read = 999;
  test_camera_init(&camera, 3, "SN-IMU-CLOSED");
  device = plug_and_open(rig, &camera, 0);
  prepare_samples();
  CHECK_FAILS(uvc_stereo_device_read_imu(device, &g_samples[0]), UVC_STEREO_ERROR_INVALID_ARGUMENT, "IMU is not open");
  CHECK_FAILS(uvc_stereo_device_read_imu_samples(device, g_samples, kBatch, &read), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "IMU is not open");
  CHECK_EQ(read, 0);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void the_cameras_status_bytes_and_faults_fail_reads(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  size_t read = 999;
  test_camera_init(&camera, 4, "SN-IMU-FAULTS");
  camera.camera.imu_motion = UVC_STEREO_IMU_MOVING;
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  prepare_samples();
  CHECK_OK(uvc_stereo_rig_queue_imu_status(rig, 0, 0xF1));
  CHECK_OK(uvc_stereo_rig_queue_imu_status(rig, 0, 0xF2));
  CHECK_FAILS(uvc_stereo_device_read_imu(device, &g_samples[0]), UVC_STEREO_ERROR_DEVICE_UNAVAILABLE,
              "IMU device reported initialization failure");
  CHECK_FAILS(uvc_stereo_device_read_imu(device, &g_samples[0]), UVC_STEREO_ERROR_READ_FAILED,
              "IMU device reported read failure");
  CHECK_OK(uvc_stereo_device_read_imu(device, &g_samples[0]));

  /* A batch stops at the first failed read and says how many it got. */
  CHECK_OK(uvc_stereo_rig_add_fault(rig, "SonixCam_XuRead", 4, 1, 8, false));
  CHECK_FAILS(uvc_stereo_device_read_imu_samples(device, g_samples, kBatch, &read), UVC_STEREO_ERROR_PLATFORM_ERROR,
              "SonixCam_XuRead failed: vendor_code=ecSyncTransTimeOut(8)");
  CHECK_EQ(read, 3);
  CHECK_OK(uvc_stereo_device_read_imu_samples(device, g_samples, kBatch, &read));
  CHECK_EQ(read, kBatch);
  {
    /* A moving camera turns. */
    size_t i;
    int turning = 0;
    for (i = 0; i < kBatch; ++i) {
      turning = turning || g_samples[i].gyro_raw[0] != 0 || g_samples[i].gyro_raw[1] != 0;
    }
    CHECK(turning);
  }
  CHECK_OK(uvc_stereo_device_close_imu(device));
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void firmware_that_lacks_the_imu_is_refused(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  test_camera_init(&camera, 0, "SN-IMU-FIRMWARE");
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_rig_set_firmware_version(rig, 0, "V2.260416"));
  CHECK_FAILS(uvc_stereo_device_open_imu(device), UVC_STEREO_ERROR_NOT_SUPPORTED,
              "IMU is not supported on this device");
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

void imu_tests(void) {
  run_case("Imu.SamplesComeInCounterOrderAndConvertToGravity", samples_come_in_counter_order_and_convert_to_gravity);
  run_case("Imu.ReadingBeforeOpeningIsRefused", reading_before_opening_is_refused);
  run_case("Imu.TheCamerasStatusBytesAndFaultsFailReads", the_cameras_status_bytes_and_faults_fail_reads);
  run_case("Imu.FirmwareThatLacksTheImuIsRefused", firmware_that_lacks_the_imu_is_refused);
}
