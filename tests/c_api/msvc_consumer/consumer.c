/* A program as a Visual Studio project would build it: compiled for the MSVC target and
 * linked against tovanel_uvc_stereo_sdk.lib alone, with no MinGW file and no C runtime
 * (this machine has none for that target), so it brings its own entry point and the few
 * helpers the compiler may call. It exits with the number of failed checks. */
#include "uvc_stereo/uvc_stereo_c.h"

__declspec(dllimport) void __stdcall ExitProcess(unsigned int code);

/* The compiler may turn struct initialisation into calls to these. */
void* memset(void* destination, int value, size_t length);
void* memset(void* destination, int value, size_t length) {
  unsigned char* bytes = (unsigned char*)destination;
  while (length-- != 0) {
    *bytes++ = (unsigned char)value;
  }
  return destination;
}
void* memcpy(void* destination, const void* source, size_t length);
void* memcpy(void* destination, const void* source, size_t length) {
  unsigned char* to = (unsigned char*)destination;
  const unsigned char* from = (const unsigned char*)source;
  while (length-- != 0) {
    *to++ = *from++;
  }
  return destination;
}

static int same(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) {
    ++a;
    ++b;
  }
  return *a == *b;
}

static unsigned g_failures = 0;

static void check(int ok) { g_failures += ok ? 0u : 1u; }

void consumer_main(void);
void consumer_main(void) {
  uvc_stereo_rig_t* rig = 0;
  uvc_stereo_rig_camera_t camera;
  uvc_stereo_device_list_t* list = 0;
  uvc_stereo_device_t* device = 0;
  uvc_stereo_imu_sample_t sample;
  uvc_stereo_device_info_t info;
  char json[64];
  size_t count = 0;

  check(same(uvc_stereo_version(), UVC_STEREO_VERSION_STRING));
  check(same(uvc_stereo_error_name(UVC_STEREO_ERROR_INVALID_JSON), "InvalidJson"));

  check(uvc_stereo_rig_create(&rig) == UVC_STEREO_OK);
  memset(&camera, 0, sizeof(camera));
  camera.struct_size = sizeof(camera);
  check(uvc_stereo_rig_camera_defaults(&camera) == UVC_STEREO_OK);
  camera.product_id = 0x6368;
  camera.serial_number = "SN-MSVC";
  check(uvc_stereo_rig_add_camera(rig, &camera, 0) == UVC_STEREO_OK);

  check(uvc_stereo_scan_devices(0, &list) == UVC_STEREO_OK);
  check(uvc_stereo_device_list_count(list, &count) == UVC_STEREO_OK && count == 1);
  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  check(uvc_stereo_device_list_get(list, 0, &info) == UVC_STEREO_OK && same(info.serial_number, "SN-MSVC"));
  check(uvc_stereo_open_device(list, 0, 0, &device) == UVC_STEREO_OK);
  uvc_stereo_device_list_free(list);

  check(uvc_stereo_device_write_json(device, "{\"a\": [1, 2}", 12) == UVC_STEREO_ERROR_INVALID_JSON);
  check(same(uvc_stereo_last_error_message(), "invalid JSON value at offset 11"));
  check(uvc_stereo_device_write_json(device, "{ \"msvc\": true }", 16) == UVC_STEREO_OK);
  check(uvc_stereo_device_read_json(device, json, sizeof(json), 0, 0) == UVC_STEREO_OK);
  check(same(json, "{\"msvc\":true}"));

  memset(&sample, 0, sizeof(sample));
  sample.struct_size = sizeof(sample);
  check(uvc_stereo_device_open_imu(device) == UVC_STEREO_OK);
  check(uvc_stereo_device_read_imu(device, &sample) == UVC_STEREO_OK && sample.accel_raw[2] > 1500);
  check(uvc_stereo_device_close_imu(device) == UVC_STEREO_OK);
  uvc_stereo_device_close(device);
  uvc_stereo_rig_destroy(rig);
  ExitProcess(g_failures);
}
