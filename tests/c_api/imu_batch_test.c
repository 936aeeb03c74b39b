/* Converting a batch of IMU samples in one call of the C interface. */
#include <string.h>

#include "check.h"

enum { kConvertBatch = 40 };

static uvc_stereo_imu_sample_t g_raw[kConvertBatch];
static uvc_stereo_imu_converted_t g_converted[kConvertBatch];

static void prepare_batch(void) {
  size_t i;
  memset(g_raw, 0, sizeof(g_raw));
  memset(g_converted, 0, sizeof(g_converted));
  for (i = 0; i < kConvertBatch; ++i) {
    g_raw[i].struct_size = sizeof(g_raw[i]);
    g_converted[i].struct_size = sizeof(g_converted[i]);
  }
}

static void a_batch_converts_each_sample_as_one_conversion_does(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_imu_converted_t one;
  size_t read = 0;
  size_t converted = 999;
  size_t i;

  test_camera_init(&camera, 1, "SN-IMU-CONVERT");
  camera.camera.imu_motion = UVC_STEREO_IMU_MOVING;
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  prepare_batch();
  CHECK_OK(uvc_stereo_device_read_imu_samples(device, g_raw, kConvertBatch, &read));
  CHECK_EQ(read, kConvertBatch);
  CHECK_OK(uvc_stereo_rig_clear_calls(rig));
  CHECK_OK(uvc_stereo_device_convert_imu_samples(device, g_raw, kConvertBatch, g_converted, &converted));
  CHECK_EQ(converted, kConvertBatch);
  /* Converting touches no camera. */
  CHECK_EQ(count_calls(rig, "SonixCam_Init"), 0);
  for (i = 0; i < kConvertBatch; ++i) {
    memset(&one, 0, sizeof(one));
    one.struct_size = sizeof(one);
    CHECK_OK(uvc_stereo_device_convert_imu(device, &g_raw[i], &one));
    CHECK_EQ(g_converted[i].host_timestamp_ns, g_raw[i].host_timestamp_ns);
    CHECK(memcmp(&g_converted[i], &one, sizeof(one)) == 0);
  }
  /* Nothing to convert: zero converted, the arrays may be null. */
  CHECK_OK(uvc_stereo_device_convert_imu_samples(device, NULL, 0, NULL, &converted));
  CHECK_EQ(converted, 0);
  /* The IMU need not be open, as for one sample. */
  CHECK_OK(uvc_stereo_device_close_imu(device));
  CHECK_OK(uvc_stereo_device_convert_imu_samples(device, g_raw, 3, g_converted, &converted));
  CHECK_EQ(converted, 3);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

/* The whole batch is refused at element `index`, whose struct is `size` bytes of a `full`-byte `type`, and
 * the elements before it are converted. */
static void refused_at(uvc_stereo_device_t* device, size_t index, const char* name, unsigned long size,
                       const char* type, unsigned long full) {
  char message[256];
  size_t converted = 999;
  CHECK_FAILS(
      uvc_stereo_device_convert_imu_samples(device, g_raw, kConvertBatch, g_converted, &converted),
      UVC_STEREO_ERROR_INVALID_ARGUMENT,
      too_small_message(message, sizeof(message), "uvc_stereo_device_convert_imu_samples", name, size, type, full));
  CHECK_EQ(converted, index);
}

static void a_batch_refuses_what_it_cannot_use_and_says_how_far_it_got(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  size_t read = 0;
  size_t converted = 999;

  test_camera_init(&camera, 2, "SN-IMU-CONVERT-ARGS");
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  prepare_batch();
  CHECK_OK(uvc_stereo_device_read_imu_samples(device, g_raw, kConvertBatch, &read));

  CHECK_FAILS(uvc_stereo_device_convert_imu_samples(NULL, g_raw, 1, g_converted, &converted),
              UVC_STEREO_ERROR_INVALID_ARGUMENT, "uvc_stereo_device_convert_imu_samples: device is null");
  CHECK_FAILS(uvc_stereo_device_convert_imu_samples(device, g_raw, 1, g_converted, NULL),
              UVC_STEREO_ERROR_INVALID_ARGUMENT, "uvc_stereo_device_convert_imu_samples: samples_converted is null");
  CHECK_FAILS(uvc_stereo_device_convert_imu_samples(device, NULL, 1, g_converted, &converted),
              UVC_STEREO_ERROR_INVALID_ARGUMENT, "uvc_stereo_device_convert_imu_samples: raw is null");
  CHECK_EQ(converted, 0);
  CHECK_FAILS(uvc_stereo_device_convert_imu_samples(device, g_raw, 1, NULL, &converted),
              UVC_STEREO_ERROR_INVALID_ARGUMENT, "uvc_stereo_device_convert_imu_samples: converted is null");

  g_raw[5].struct_size = 8;
  refused_at(device, 5, "raw[i]", 8, "uvc_stereo_imu_sample_t", sizeof(uvc_stereo_imu_sample_t));
  g_raw[5].struct_size = sizeof(g_raw[5]);
  g_converted[7].struct_size = 4;
  refused_at(device, 7, "converted[i]", 4, "uvc_stereo_imu_converted_t", sizeof(uvc_stereo_imu_converted_t));
  CHECK_OK(uvc_stereo_device_close_imu(device));
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

void imu_batch_tests(void) {
  run_case("ImuBatch.ABatchConvertsEachSampleAsOneConversionDoes", a_batch_converts_each_sample_as_one_conversion_does);
  run_case("ImuBatch.ABatchRefusesWhatItCannotUseAndSaysHowFarItGot",
           a_batch_refuses_what_it_cannot_use_and_says_how_far_it_got);
}
