/* Scans a simulated camera, writes and reads back its JSON configuration, reads one IMU
 * sample in physical units and streams a few more with their host times, through the C
 * interface alone. Exits non-zero on any failure. */
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

/* Samples streamed, in one batch read. */
#define STREAMED 8

int main(void) {
  uvc_stereo_rig_t* rig = NULL;
  uvc_stereo_rig_camera_t camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_info_t info;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_imu_sample_t raw;
  uvc_stereo_imu_converted_t sample;
  uvc_stereo_rig_imu_timing_t timing;
  uvc_stereo_imu_stream_t* stream = NULL;
  uvc_stereo_imu_stream_sample_t streamed[STREAMED];
  uvc_stereo_imu_stream_statistics_t statistics;
  size_t streamed_count = 0;
  size_t i;
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
  /* Its IMU samples in time at 200 Hz, on the rig's virtual clock so the example runs at once. */
  memset(&timing, 0, sizeof(timing));
  timing.struct_size = sizeof(timing);
  require(uvc_stereo_rig_imu_timing_defaults(&timing), "uvc_stereo_rig_imu_timing_defaults");
  require(uvc_stereo_rig_set_imu_timing(rig, 0, &timing), "uvc_stereo_rig_set_imu_timing");
  require(uvc_stereo_rig_use_virtual_time(rig, 1000000000u), "uvc_stereo_rig_use_virtual_time");

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
  printf("IMU sample %lu: %.2f C, accel z %.3f g\n", (unsigned long)raw.sample_counter, sample.temperature_c,
         sample.accel_g[2]);

  /* A stream delivers every sample once, in order, with the host time it was taken. The first
   * element's struct_size is the array's stride. */
  memset(streamed, 0, sizeof(streamed));
  streamed[0].struct_size = sizeof(streamed[0]);
  require(uvc_stereo_imu_stream_open(device, NULL, &stream), "uvc_stereo_imu_stream_open");
  require(uvc_stereo_imu_stream_read(stream, streamed, STREAMED, 1000000000u, &streamed_count),
          "uvc_stereo_imu_stream_read");
  for (i = 0; i < streamed_count; ++i) {
    printf("stream sample %lu (counter %lu, %lu missed before) at %llu ns: accel z %.3f g\n",
           (unsigned long)streamed[i].sample_index, (unsigned long)streamed[i].counter,
           (unsigned long)streamed[i].missed_before, (unsigned long long)streamed[i].host_time_ns,
           streamed[i].converted.accel_g[2]);
    if (i > 0 && streamed[i].host_time_ns <= streamed[i - 1].host_time_ns) {
      fprintf(stderr, "host times do not increase\n");
      return 1;
    }
  }
  memset(&statistics, 0, sizeof(statistics));
  statistics.struct_size = sizeof(statistics);
  require(uvc_stereo_imu_stream_statistics(stream, &statistics), "uvc_stereo_imu_stream_statistics");
  printf("stream: %llu delivered, %llu missed, %.1f Hz\n", (unsigned long long)statistics.samples_delivered,
         (unsigned long long)statistics.samples_missed, statistics.rate_hz);
  uvc_stereo_imu_stream_free(stream);
  if (streamed_count != STREAMED || statistics.samples_delivered != STREAMED) {
    fprintf(stderr, "expected %d streamed samples, got %lu\n", STREAMED, (unsigned long)streamed_count);
    return 1;
  }
  require(uvc_stereo_device_close_imu(device), "uvc_stereo_device_close_imu");
  uvc_stereo_device_close(device);
  uvc_stereo_rig_destroy(rig);
  return sample.accel_g[2] > 0.8 && sample.accel_g[2] < 1.2 ? 0 : 1;
}
