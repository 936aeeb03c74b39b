/* Scans a simulated camera, writes and reads back its JSON configuration and reads one IMU
 * sample in physical units, through the C interface alone. Exits non-zero on any failure. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "uvc_stereo/uvc_stereo_c.h"

/* Prints the failure of `call` and stops the program. */
static void require(uvc_stereo_error_t result, const char* call) {
  if (result != UVC_STEREO_OK) {
    fprintf(stderr, "%s: %s: %s\n", call, uvc_stereo_error_name(result), uvc_stereo_last_error_message());
    exit(1);
  }
}

int main(void) {
  uvc_stereo_rig_t* rig = NULL;
  uvc_stereo_rig_camera_t camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_info_t info;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_imu_sample_t raw;
  uvc_stereo_imu_converted_t sample;
  char json[256];
  size_t count = 0;

  printf("Tovanel UVC stereo SDK %s\n", uvc_stereo_version());
  require(uvc_stereo_rig_create(&rig), "uvc_stereo_rig_create");
  memset(&camera, 0, sizeof(camera));
  camera.struct_size = sizeof(camera);
  require(uvc_stereo_rig_camera_defaults(&camera), "uvc_stereo_rig_camera_defaults");
  camera.product_id = 0x6368;
  camera.serial_number = "SN-C-CONSUMER";
  camera.product_string = "Tovanel Stereo Camera";
  require(uvc_stereo_rig_add_camera(rig, &camera, NULL), "uvc_stereo_rig_add_camera");

  require(uvc_stereo_scan_devices(NULL, &list), "uvc_stereo_scan_devices");
  require(uvc_stereo_device_list_count(list, &count), "uvc_stereo_device_list_count");
  if (count != 1) {
    fprintf(stderr, "expected one camera, found %lu\n", (unsigned long)count);
    return 1;
  }
  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  require(uvc_stereo_device_list_get(list, 0, &info), "uvc_stereo_device_list_get");
  printf("camera %04x:%04x serial %s (%s)\n", info.vendor_id, info.product_id, info.serial_number, info.friendly_name);
  require(uvc_stereo_open_device(list, 0, NULL, &device), "uvc_stereo_open_device");
  uvc_stereo_device_list_free(list);

  require(uvc_stereo_device_write_json(device, "{ \"consumer\": \"c\" }", 19), "uvc_stereo_device_write_json");
  require(uvc_stereo_device_read_json(device, json, sizeof(json), NULL, NULL), "uvc_stereo_device_read_json");
  printf("configuration %s\n", json);
  if (strcmp(json, "{\"consumer\":\"c\"}") != 0) {
    return 1;
  }

  memset(&raw, 0, sizeof(raw));
  raw.struct_size = sizeof(raw);
  memset(&sample, 0, sizeof(sample));
  sample.struct_size = sizeof(sample);
  require(uvc_stereo_device_open_imu(device), "uvc_stereo_device_open_imu");
  require(uvc_stereo_device_read_imu(device, &raw), "uvc_stereo_device_read_imu");
  require(uvc_stereo_device_convert_imu(device, &raw, &sample), "uvc_stereo_device_convert_imu");
  require(uvc_stereo_device_close_imu(device), "uvc_stereo_device_close_imu");
  printf("IMU sample %lu: %.2f C, accel z %.3f g\n", (unsigned long)raw.sample_counter, sample.temperature_c,
         sample.accel_g[2]);
  uvc_stereo_device_close(device);
  uvc_stereo_rig_destroy(rig);
  return sample.accel_g[2] > 0.8 && sample.accel_g[2] < 1.2 ? 0 : 1;
}
