/* Simulated rigs kept in a directory, and the camera interlock, through the C interface. */
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "check.h"

/* Where the system can tell which process holds a camera, the busy message names it; Windows' named objects
   cannot, and the message says another program holds it. */
#ifdef _WIN32
static const char kImuBusyPrefix[] = "camera is busy: its IMU is open in another program";
#else
static const char kImuBusyPrefix[] = "camera is busy: its IMU is open in process ";
#endif

static void a_rig_in_memory_has_no_directory(void) {
  uvc_stereo_rig_t* rig = test_rig();
  char buffer[8];
  size_t required = 0;
  memset(buffer, 'x', sizeof(buffer));
  CHECK_OK(uvc_stereo_rig_directory(rig, buffer, sizeof(buffer), &required));
  CHECK_TEXT(buffer, "");
  CHECK_EQ(required, 1);
  finish_rig(rig);
}

static void two_rigs_in_one_directory_share_its_cameras(void) {
  char directory[96];
  char path[160];
  char named[160];
  test_camera camera;
  uvc_stereo_rig_t* first = NULL;
  uvc_stereo_rig_t* second = NULL;
  size_t count = 0;
  unsigned char bytes[4];
  static const unsigned char pattern[3] = {0xA5, 0x5A, 0x00};
  snprintf(directory, sizeof(directory), "c-api-rig-directory-%ld-%ld", (long)time(NULL), (long)clock());

  CHECK_OK(uvc_stereo_rig_create_in_directory(directory, &first));
  test_camera_init(&camera, 2, "SN-C-DIR");
  CHECK_OK(uvc_stereo_rig_add_camera(first, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_rig_set_flash(first, 0, 0x51000, pattern, sizeof(pattern)));
  CHECK_OK(uvc_stereo_rig_directory(first, named, sizeof(named), NULL));
  CHECK_TEXT(named, directory);

  CHECK_OK(uvc_stereo_rig_create_in_directory(directory, &second));
  CHECK_OK(uvc_stereo_rig_camera_count(second, &count));
  CHECK_EQ(count, 1);
  CHECK_OK(uvc_stereo_rig_flash(second, 0, 0x51000, 4, bytes, sizeof(bytes), NULL));
  CHECK(bytes[0] == 0xA5 && bytes[1] == 0x5A && bytes[2] == 0x00 && bytes[3] == 0xFF);

  uvc_stereo_rig_destroy(second);
  uvc_stereo_rig_destroy(first);
  snprintf(path, sizeof(path), "%s/camera-0.txt", directory);
  CHECK(remove(path) == 0);
  snprintf(path, sizeof(path), "%s/camera-0.flash", directory);
  CHECK(remove(path) == 0);
  snprintf(path, sizeof(path), "%s/locks", directory);
  remove(path);
  remove(directory);
}

static void a_directory_rig_is_refused_without_its_arguments(void) {
  uvc_stereo_rig_t* rig = NULL;
  CHECK_FAILS(uvc_stereo_rig_create_in_directory(NULL, &rig), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_create_in_directory: directory is null");
  CHECK_FAILS(uvc_stereo_rig_create_in_directory("x", NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_create_in_directory: rig is null");
  CHECK_FAILS(uvc_stereo_rig_directory(NULL, NULL, 0, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_directory: rig is null");
}

static void an_open_imu_in_one_device_makes_the_camera_busy_for_another(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* streaming = NULL;
  uvc_stereo_device_t* configuring = NULL;
  uvc_stereo_open_options_t options;
  uvc_stereo_flash_config_t config;
  test_camera_init(&camera, 2, "SN-C-BUSY");
  streaming = plug_and_open(rig, &camera, 0);
  list = scan_all();
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  options.busy_wait_ms = 1;
  CHECK_OK(uvc_stereo_open_device(list, 0, &options, &configuring));
  uvc_stereo_device_list_free(list);

  memset(&config, 0, sizeof(config));
  config.struct_size = sizeof(config);
  CHECK_OK(uvc_stereo_device_flash_config(configuring, &config));
  CHECK_EQ(config.busy_wait_ms, 1);
  CHECK_OK(uvc_stereo_device_flash_config(streaming, &config));
  CHECK_EQ(config.busy_wait_ms, 5000);

  CHECK_OK(uvc_stereo_device_open_imu(streaming));
  CHECK_FAILS_WITH_PREFIX(uvc_stereo_device_write_json(configuring, "{}", 2), UVC_STEREO_ERROR_DEVICE_UNAVAILABLE,
                          kImuBusyPrefix);
  CHECK_OK(uvc_stereo_device_close_imu(streaming));
  CHECK_OK(uvc_stereo_device_write_json(configuring, "{}", 2));
  uvc_stereo_device_close(configuring);
  uvc_stereo_device_close(streaming);
  finish_rig(rig);
}

void rig_directory_tests(void) {
  a_rig_in_memory_has_no_directory();
  two_rigs_in_one_directory_share_its_cameras();
  a_directory_rig_is_refused_without_its_arguments();
  an_open_imu_in_one_device_makes_the_camera_busy_for_another();
}
