/* Bad arguments: every null handle, null out-pointer and too-small struct is an
 * InvalidArgument that names the function and the argument, never a crash. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "check.h"

#define CHECK_NULL(call, function, name) \
  CHECK_FAILS(call, UVC_STEREO_ERROR_INVALID_ARGUMENT, function ": " name " is null")

static void null_handles_and_out_pointers_are_refused(void) {
  uvc_stereo_device_info_t info;
  uvc_stereo_capability_info_t capability;
  uvc_stereo_flash_config_t flash;
  uvc_stereo_imu_transport_t transport;
  uvc_stereo_imu_conversion_options_t options;
  uvc_stereo_imu_sample_t sample;
  uvc_stereo_imu_converted_t converted;
  uvc_stereo_capability_report_t report;
  uvc_stereo_rig_camera_t camera;
  uvc_stereo_rig_call_t call;
  char text[8];
  uint8_t bytes[64];
  size_t count = 0;
  uint32_t value = 0;
  int32_t sessions = 0;
  bool flag = false;
  const char* string = NULL;
  void* handle = NULL;

  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  memset(&capability, 0, sizeof(capability));
  capability.struct_size = sizeof(capability);
  memset(&flash, 0, sizeof(flash));
  flash.struct_size = sizeof(flash);
  memset(&transport, 0, sizeof(transport));
  transport.struct_size = sizeof(transport);
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  memset(&sample, 0, sizeof(sample));
  sample.struct_size = sizeof(sample);
  memset(&converted, 0, sizeof(converted));
  converted.struct_size = sizeof(converted);
  memset(&report, 0, sizeof(report));
  report.struct_size = sizeof(report);
  memset(&camera, 0, sizeof(camera));
  camera.struct_size = sizeof(camera);
  memset(&call, 0, sizeof(call));
  call.struct_size = sizeof(call);
  memset(bytes, 0, sizeof(bytes));
  (void)handle;

  CHECK_NULL(uvc_stereo_scan_devices(NULL, NULL), "uvc_stereo_scan_devices", "list");
  CHECK_NULL(uvc_stereo_device_list_count(NULL, &count), "uvc_stereo_device_list_count", "list");
  CHECK_NULL(uvc_stereo_device_list_get(NULL, 0, &info), "uvc_stereo_device_list_get", "list");
  CHECK_NULL(uvc_stereo_open_device(NULL, 0, NULL, NULL), "uvc_stereo_open_device", "list");
  CHECK_NULL(uvc_stereo_open_device_info(NULL, NULL, NULL), "uvc_stereo_open_device_info", "info");

  CHECK_NULL(uvc_stereo_device_info(NULL, &info), "uvc_stereo_device_info", "device");
  CHECK_NULL(uvc_stereo_device_capability_info(NULL, &capability), "uvc_stereo_device_capability_info", "device");
  CHECK_NULL(uvc_stereo_device_flash_config(NULL, &flash), "uvc_stereo_device_flash_config", "device");
  CHECK_NULL(uvc_stereo_device_imu_transport(NULL, &transport), "uvc_stereo_device_imu_transport", "device");
  CHECK_NULL(uvc_stereo_device_transport_flags(NULL, &value), "uvc_stereo_device_transport_flags", "device");
  CHECK_NULL(uvc_stereo_device_has_flash_transport(NULL, &flag), "uvc_stereo_device_has_flash_transport", "device");
  CHECK_NULL(uvc_stereo_device_has_imu_transport(NULL, &flag), "uvc_stereo_device_has_imu_transport", "device");
  CHECK_NULL(uvc_stereo_device_read_json(NULL, text, sizeof(text), NULL, NULL), "uvc_stereo_device_read_json",
             "device");
  CHECK_NULL(uvc_stereo_device_write_json(NULL, "{}", 2), "uvc_stereo_device_write_json", "device");
  CHECK_NULL(uvc_stereo_device_open_imu(NULL), "uvc_stereo_device_open_imu", "device");
  CHECK_NULL(uvc_stereo_device_read_imu(NULL, &sample), "uvc_stereo_device_read_imu", "device");
  CHECK_NULL(uvc_stereo_device_read_imu_samples(NULL, &sample, 1, &count), "uvc_stereo_device_read_imu_samples",
             "device");
  CHECK_NULL(uvc_stereo_device_close_imu(NULL), "uvc_stereo_device_close_imu", "device");
  CHECK_NULL(uvc_stereo_device_imu_conversion_options(NULL, &options), "uvc_stereo_device_imu_conversion_options",
             "device");
  CHECK_NULL(uvc_stereo_device_convert_imu(NULL, &sample, &converted), "uvc_stereo_device_convert_imu", "device");

  CHECK_NULL(uvc_stereo_imu_conversion_options_defaults(NULL), "uvc_stereo_imu_conversion_options_defaults", "options");
  CHECK_NULL(uvc_stereo_convert_imu(NULL, &options, &converted), "uvc_stereo_convert_imu", "raw");
  CHECK_NULL(uvc_stereo_convert_imu(&sample, NULL, &converted), "uvc_stereo_convert_imu", "options");
  CHECK_NULL(uvc_stereo_convert_imu(&sample, &options, NULL), "uvc_stereo_convert_imu", "converted");
  CHECK_NULL(uvc_stereo_capability_report_defaults(NULL), "uvc_stereo_capability_report_defaults", "report");
  CHECK_NULL(uvc_stereo_rig_camera_defaults(NULL), "uvc_stereo_rig_camera_defaults", "camera");

  CHECK_NULL(uvc_stereo_rig_create(NULL), "uvc_stereo_rig_create", "rig");
  CHECK_NULL(uvc_stereo_rig_add_camera(NULL, &camera, NULL), "uvc_stereo_rig_add_camera", "rig");
  CHECK_NULL(uvc_stereo_rig_camera_count(NULL, &count), "uvc_stereo_rig_camera_count", "rig");
  CHECK_NULL(uvc_stereo_rig_unplug(NULL, 0), "uvc_stereo_rig_unplug", "rig");
  CHECK_NULL(uvc_stereo_rig_plug(NULL, 0), "uvc_stereo_rig_plug", "rig");
  CHECK_NULL(uvc_stereo_rig_set_library_present(NULL, true), "uvc_stereo_rig_set_library_present", "rig");
  CHECK_NULL(uvc_stereo_rig_set_init_fails_without_cameras(NULL, true), "uvc_stereo_rig_set_init_fails_without_cameras",
             "rig");
  CHECK_NULL(uvc_stereo_rig_flash(NULL, 0, 0, 1, bytes, 1, NULL), "uvc_stereo_rig_flash", "rig");
  CHECK_NULL(uvc_stereo_rig_set_flash(NULL, 0, 0, bytes, 1), "uvc_stereo_rig_set_flash", "rig");
  CHECK_NULL(uvc_stereo_rig_write_protected(NULL, 0, &flag), "uvc_stereo_rig_write_protected", "rig");
  CHECK_NULL(uvc_stereo_rig_cut_power_during_write(NULL, 0, 1), "uvc_stereo_rig_cut_power_during_write", "rig");
  CHECK_NULL(uvc_stereo_rig_cut_power_during_erase(NULL, 0, 1), "uvc_stereo_rig_cut_power_during_erase", "rig");
  CHECK_NULL(uvc_stereo_rig_set_stuck_zero_bits(NULL, 0, 0, 1), "uvc_stereo_rig_set_stuck_zero_bits", "rig");
  CHECK_NULL(uvc_stereo_rig_set_capability_report(NULL, 0, &report), "uvc_stereo_rig_set_capability_report", "rig");
  CHECK_NULL(uvc_stereo_rig_set_capability_bytes(NULL, 0, bytes), "uvc_stereo_rig_set_capability_bytes", "rig");
  CHECK_NULL(uvc_stereo_rig_set_firmware_version(NULL, 0, "V1"), "uvc_stereo_rig_set_firmware_version", "rig");
  CHECK_NULL(uvc_stereo_rig_set_node_access(NULL, 0, UVC_STEREO_NODE_ACCESS_BUSY), "uvc_stereo_rig_set_node_access",
             "rig");
  CHECK_NULL(uvc_stereo_rig_queue_imu_status(NULL, 0, 0xF1), "uvc_stereo_rig_queue_imu_status", "rig");
  CHECK_NULL(uvc_stereo_rig_next_imu_counter(NULL, 0, &value), "uvc_stereo_rig_next_imu_counter", "rig");
  CHECK_NULL(uvc_stereo_rig_set_capture_devices(NULL, UVC_STEREO_BACKEND_MSMF, NULL, 0),
             "uvc_stereo_rig_set_capture_devices", "rig");
  CHECK_NULL(uvc_stereo_rig_set_capture_listing_fails(NULL, UVC_STEREO_BACKEND_MSMF, true),
             "uvc_stereo_rig_set_capture_listing_fails", "rig");
  CHECK_NULL(uvc_stereo_rig_add_fault(NULL, "*", 1, 1, 0, false), "uvc_stereo_rig_add_fault", "rig");
  CHECK_NULL(uvc_stereo_rig_clear_faults(NULL), "uvc_stereo_rig_clear_faults", "rig");
  CHECK_NULL(uvc_stereo_rig_calls(NULL, NULL), "uvc_stereo_rig_calls", "rig");
  CHECK_NULL(uvc_stereo_rig_call_log_count(NULL, &count), "uvc_stereo_rig_call_log_count", "log");
  CHECK_NULL(uvc_stereo_rig_call_log_get(NULL, 0, &call), "uvc_stereo_rig_call_log_get", "log");
  CHECK_NULL(uvc_stereo_rig_clear_calls(NULL), "uvc_stereo_rig_clear_calls", "rig");
  CHECK_NULL(uvc_stereo_rig_violations(NULL, NULL), "uvc_stereo_rig_violations", "rig");
  CHECK_NULL(uvc_stereo_string_list_count(NULL, &count), "uvc_stereo_string_list_count", "list");
  CHECK_NULL(uvc_stereo_string_list_get(NULL, 0, &string), "uvc_stereo_string_list_get", "list");
  CHECK_NULL(uvc_stereo_rig_open_sessions(NULL, &sessions), "uvc_stereo_rig_open_sessions", "rig");
}

static void null_out_pointers_on_live_handles_are_refused(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_rig_call_log_t* log = NULL;
  uvc_stereo_string_list_t* texts = NULL;
  uvc_stereo_imu_sample_t sample;
  size_t count = 0;
  memset(&sample, 0, sizeof(sample));
  sample.struct_size = sizeof(sample);
  test_camera_init(&camera, 0, "SN-ARGS");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  list = scan_all();
  CHECK_OK(uvc_stereo_open_device(list, 0, NULL, &device));
  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_OK(uvc_stereo_rig_violations(rig, &texts));

  CHECK_NULL(uvc_stereo_device_list_count(list, NULL), "uvc_stereo_device_list_count", "count");
  CHECK_NULL(uvc_stereo_device_list_get(list, 0, NULL), "uvc_stereo_device_list_get", "info");
  CHECK_NULL(uvc_stereo_open_device(list, 0, NULL, NULL), "uvc_stereo_open_device", "device");
  CHECK_NULL(uvc_stereo_device_info(device, NULL), "uvc_stereo_device_info", "info");
  CHECK_NULL(uvc_stereo_device_capability_info(device, NULL), "uvc_stereo_device_capability_info", "info");
  CHECK_NULL(uvc_stereo_device_flash_config(device, NULL), "uvc_stereo_device_flash_config", "config");
  CHECK_NULL(uvc_stereo_device_imu_transport(device, NULL), "uvc_stereo_device_imu_transport", "transport");
  CHECK_NULL(uvc_stereo_device_transport_flags(device, NULL), "uvc_stereo_device_transport_flags", "flags");
  CHECK_NULL(uvc_stereo_device_has_flash_transport(device, NULL), "uvc_stereo_device_has_flash_transport", "has");
  CHECK_NULL(uvc_stereo_device_has_imu_transport(device, NULL), "uvc_stereo_device_has_imu_transport", "has");
  CHECK_NULL(uvc_stereo_device_write_json(device, NULL, 2), "uvc_stereo_device_write_json", "json");
  CHECK_NULL(uvc_stereo_device_read_imu(device, NULL), "uvc_stereo_device_read_imu", "sample");
  CHECK_NULL(uvc_stereo_device_read_imu_samples(device, &sample, 1, NULL), "uvc_stereo_device_read_imu_samples",
             "samples_read");
  CHECK_NULL(uvc_stereo_device_read_imu_samples(device, NULL, 1, &count), "uvc_stereo_device_read_imu_samples",
             "samples");
  CHECK_NULL(uvc_stereo_device_imu_conversion_options(device, NULL), "uvc_stereo_device_imu_conversion_options",
             "options");
  CHECK_NULL(uvc_stereo_device_convert_imu(device, NULL, NULL), "uvc_stereo_device_convert_imu", "raw");
  CHECK_NULL(uvc_stereo_rig_camera_count(rig, NULL), "uvc_stereo_rig_camera_count", "count");
  CHECK_NULL(uvc_stereo_rig_add_camera(rig, NULL, NULL), "uvc_stereo_rig_add_camera", "camera");
  CHECK_NULL(uvc_stereo_rig_write_protected(rig, 0, NULL), "uvc_stereo_rig_write_protected", "is_protected");
  CHECK_NULL(uvc_stereo_rig_set_capability_report(rig, 0, NULL), "uvc_stereo_rig_set_capability_report", "report");
  CHECK_NULL(uvc_stereo_rig_set_capability_bytes(rig, 0, NULL), "uvc_stereo_rig_set_capability_bytes", "report");
  CHECK_NULL(uvc_stereo_rig_set_firmware_version(rig, 0, NULL), "uvc_stereo_rig_set_firmware_version", "version");
  CHECK_NULL(uvc_stereo_rig_next_imu_counter(rig, 0, NULL), "uvc_stereo_rig_next_imu_counter", "counter");
  CHECK_NULL(uvc_stereo_rig_set_capture_devices(rig, UVC_STEREO_BACKEND_MSMF, NULL, 1),
             "uvc_stereo_rig_set_capture_devices", "devices");
  CHECK_NULL(uvc_stereo_rig_add_fault(rig, NULL, 1, 1, 0, false), "uvc_stereo_rig_add_fault", "call");
  CHECK_NULL(uvc_stereo_rig_calls(rig, NULL), "uvc_stereo_rig_calls", "log");
  CHECK_NULL(uvc_stereo_rig_call_log_count(log, NULL), "uvc_stereo_rig_call_log_count", "count");
  CHECK_NULL(uvc_stereo_rig_call_log_get(log, 0, NULL), "uvc_stereo_rig_call_log_get", "call");
  CHECK_NULL(uvc_stereo_rig_violations(rig, NULL), "uvc_stereo_rig_violations", "violations");
  CHECK_NULL(uvc_stereo_string_list_count(texts, NULL), "uvc_stereo_string_list_count", "count");
  CHECK_NULL(uvc_stereo_string_list_get(texts, 0, NULL), "uvc_stereo_string_list_get", "text");
  CHECK_NULL(uvc_stereo_rig_open_sessions(rig, NULL), "uvc_stereo_rig_open_sessions", "sessions");
  /* Rig camera indices are checked before anything else is done. */
  CHECK_FAILS(uvc_stereo_rig_cut_power_during_write(rig, 5, 1), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_cut_power_during_write: the rig has no camera 5 (it has 1)");

  uvc_stereo_string_list_free(texts);
  uvc_stereo_rig_call_log_free(log);
  uvc_stereo_device_close(device);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

/* Checks that a struct one byte smaller than its first layout (`first` bytes) is refused by `call`. */
#define CHECK_SMALLER_THAN_FIRST(call, function, name, type, value, first)                                        \
  do {                                                                                                            \
    char expected_[256];                                                                                          \
    (value).struct_size = (uint32_t)(first)-1u;                                                                   \
    CHECK_FAILS(call, UVC_STEREO_ERROR_INVALID_ARGUMENT,                                                          \
                too_small_message(expected_, sizeof(expected_), function, name, (unsigned long)(first)-1u, #type, \
                                  (unsigned long)(first)));                                                       \
    (value).struct_size = (uint32_t)sizeof(type);                                                                 \
  } while (0)

/* The same for a struct whose first layout is the whole struct of this header. */
#define CHECK_TOO_SMALL(call, function, name, type, value) \
  CHECK_SMALLER_THAN_FIRST(call, function, name, type, value, sizeof(type))

static void structs_smaller_than_their_first_layout_are_refused(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_rig_call_log_t* log = NULL;
  uvc_stereo_device_info_t info;
  uvc_stereo_scan_filter_t filter;
  uvc_stereo_open_options_t options;
  uvc_stereo_capability_info_t capability;
  uvc_stereo_flash_config_t flash;
  uvc_stereo_imu_transport_t transport;
  uvc_stereo_imu_conversion_options_t conversion;
  uvc_stereo_imu_sample_t samples[2];
  uvc_stereo_imu_converted_t converted;
  uvc_stereo_capability_report_t report;
  uvc_stereo_rig_call_t call;
  uvc_stereo_rig_capture_device_t capture;
  size_t count = 99;

  memset(&info, 0, sizeof(info));
  memset(&filter, 0, sizeof(filter));
  memset(&options, 0, sizeof(options));
  memset(&capability, 0, sizeof(capability));
  memset(&flash, 0, sizeof(flash));
  memset(&transport, 0, sizeof(transport));
  memset(&conversion, 0, sizeof(conversion));
  memset(samples, 0, sizeof(samples));
  memset(&converted, 0, sizeof(converted));
  memset(&report, 0, sizeof(report));
  memset(&call, 0, sizeof(call));
  memset(&capture, 0, sizeof(capture));
  conversion.struct_size = sizeof(conversion);
  converted.struct_size = sizeof(converted);
  samples[0].struct_size = sizeof(samples[0]);
  samples[1].struct_size = sizeof(samples[1]);
  report.struct_size = sizeof(report);
  capture.struct_size = sizeof(capture);
  CHECK_OK(uvc_stereo_capability_report_defaults(&report));
  CHECK_OK(uvc_stereo_imu_conversion_options_defaults(&conversion));

  test_camera_init(&camera, 0, "SN-SIZES");
  /* A rig camera grew a node_access after its first layout. */
  CHECK_SMALLER_THAN_FIRST(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL), "uvc_stereo_rig_add_camera", "camera",
                           uvc_stereo_rig_camera_t, camera.camera, offsetof(uvc_stereo_rig_camera_t, node_access));
  CHECK_SMALLER_THAN_FIRST(uvc_stereo_rig_camera_defaults(&camera.camera), "uvc_stereo_rig_camera_defaults", "camera",
                           uvc_stereo_rig_camera_t, camera.camera, offsetof(uvc_stereo_rig_camera_t, node_access));
  CHECK_OK(uvc_stereo_rig_camera_count(rig, &count));
  CHECK_EQ(count, 0);
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));

  CHECK_TOO_SMALL(uvc_stereo_scan_devices(&filter, &list), "uvc_stereo_scan_devices", "filter",
                  uvc_stereo_scan_filter_t, filter);
  CHECK(list == NULL);
  list = scan_all();
  CHECK_TOO_SMALL(uvc_stereo_device_list_get(list, 0, &info), "uvc_stereo_device_list_get", "info",
                  uvc_stereo_device_info_t, info);
  /* Both grew a busy_wait_ms after their first layout. */
  CHECK_SMALLER_THAN_FIRST(uvc_stereo_open_device(list, 0, &options, &device), "uvc_stereo_open_device", "options",
                           uvc_stereo_open_options_t, options, offsetof(uvc_stereo_open_options_t, busy_wait_ms));
  CHECK(device == NULL);
  CHECK_OK(uvc_stereo_device_list_get(list, 0, &info));
  CHECK_TOO_SMALL(uvc_stereo_open_device_info(&info, NULL, &device), "uvc_stereo_open_device_info", "info",
                  uvc_stereo_device_info_t, info);
  CHECK(device == NULL);
  CHECK_OK(uvc_stereo_open_device(list, 0, &options, &device));

  CHECK_TOO_SMALL(uvc_stereo_device_info(device, &info), "uvc_stereo_device_info", "info", uvc_stereo_device_info_t,
                  info);
  CHECK_TOO_SMALL(uvc_stereo_device_capability_info(device, &capability), "uvc_stereo_device_capability_info", "info",
                  uvc_stereo_capability_info_t, capability);
  CHECK_SMALLER_THAN_FIRST(uvc_stereo_device_flash_config(device, &flash), "uvc_stereo_device_flash_config", "config",
                           uvc_stereo_flash_config_t, flash, offsetof(uvc_stereo_flash_config_t, busy_wait_ms));
  CHECK_TOO_SMALL(uvc_stereo_device_imu_transport(device, &transport), "uvc_stereo_device_imu_transport", "transport",
                  uvc_stereo_imu_transport_t, transport);
  CHECK_TOO_SMALL(uvc_stereo_device_imu_conversion_options(device, &conversion),
                  "uvc_stereo_device_imu_conversion_options", "options", uvc_stereo_imu_conversion_options_t,
                  conversion);
  CHECK_TOO_SMALL(uvc_stereo_imu_conversion_options_defaults(&conversion), "uvc_stereo_imu_conversion_options_defaults",
                  "options", uvc_stereo_imu_conversion_options_t, conversion);
  CHECK_TOO_SMALL(uvc_stereo_convert_imu(&samples[0], &conversion, &converted), "uvc_stereo_convert_imu", "raw",
                  uvc_stereo_imu_sample_t, samples[0]);
  CHECK_TOO_SMALL(uvc_stereo_convert_imu(&samples[0], &conversion, &converted), "uvc_stereo_convert_imu", "options",
                  uvc_stereo_imu_conversion_options_t, conversion);
  CHECK_TOO_SMALL(uvc_stereo_convert_imu(&samples[0], &conversion, &converted), "uvc_stereo_convert_imu", "converted",
                  uvc_stereo_imu_converted_t, converted);
  CHECK_TOO_SMALL(uvc_stereo_device_convert_imu(device, &samples[0], &converted), "uvc_stereo_device_convert_imu",
                  "converted", uvc_stereo_imu_converted_t, converted);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  CHECK_TOO_SMALL(uvc_stereo_device_read_imu(device, &samples[0]), "uvc_stereo_device_read_imu", "sample",
                  uvc_stereo_imu_sample_t, samples[0]);
  /* A batch checks each element as it comes to it. */
  CHECK_TOO_SMALL(uvc_stereo_device_read_imu_samples(device, samples, 2, &count), "uvc_stereo_device_read_imu_samples",
                  "samples[i]", uvc_stereo_imu_sample_t, samples[1]);
  CHECK_EQ(count, 1);
  CHECK_OK(uvc_stereo_device_close_imu(device));
  CHECK_TOO_SMALL(uvc_stereo_capability_report_defaults(&report), "uvc_stereo_capability_report_defaults", "report",
                  uvc_stereo_capability_report_t, report);
  CHECK_TOO_SMALL(uvc_stereo_rig_set_capability_report(rig, 0, &report), "uvc_stereo_rig_set_capability_report",
                  "report", uvc_stereo_capability_report_t, report);
  CHECK_TOO_SMALL(uvc_stereo_rig_set_capture_devices(rig, UVC_STEREO_BACKEND_MSMF, &capture, 1),
                  "uvc_stereo_rig_set_capture_devices", "devices[i]", uvc_stereo_rig_capture_device_t, capture);
  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_TOO_SMALL(uvc_stereo_rig_call_log_get(log, 0, &call), "uvc_stereo_rig_call_log_get", "call",
                  uvc_stereo_rig_call_t, call);
  /* Zero, the size of a struct nobody set, is refused too. */
  call.struct_size = 0;
  CHECK_FAILS(uvc_stereo_rig_call_log_get(log, 0, &call), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              too_small_message((char[256]){0}, 256, "uvc_stereo_rig_call_log_get", "call", 0, "uvc_stereo_rig_call_t",
                                (unsigned long)sizeof(call)));
  uvc_stereo_rig_call_log_free(log);
  uvc_stereo_device_close(device);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

/* A program built against the header of the first release passes the structs of that layout: they are taken, and
   the fields appended since are neither read nor written. */
static void structs_of_the_first_layout_are_taken_and_their_later_fields_left_alone(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_open_options_t options;
  uvc_stereo_flash_config_t flash;
  uvc_stereo_flash_config_t full;
  uvc_stereo_camera_access_list_t* problems = NULL;
  size_t problem_count = 1;

  test_camera_init(&camera, 0, "SN-FIRST-LAYOUT");
  /* A rig camera of the first layout has no node access: its nodes open, whatever lies after it. */
  camera.camera.struct_size = (uint32_t)offsetof(uvc_stereo_rig_camera_t, node_access);
  camera.camera.node_access = UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED;
  CHECK_OK(uvc_stereo_rig_camera_defaults(&camera.camera));
  CHECK_EQ(camera.camera.node_access, UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED);
  test_camera_init(&camera, 0, "SN-FIRST-LAYOUT");
  camera.camera.struct_size = (uint32_t)offsetof(uvc_stereo_rig_camera_t, node_access);
  camera.camera.node_access = UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED;
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_find_camera_access_problems(&problems));
  CHECK_OK(uvc_stereo_camera_access_list_count(problems, &problem_count));
  CHECK_EQ(problem_count, 0);
  uvc_stereo_camera_access_list_free(problems);
  list = scan_all();
  memset(&options, 0, sizeof(options));
  options.struct_size = (uint32_t)offsetof(uvc_stereo_open_options_t, busy_wait_ms);
  options.busy_wait_ms = 0xDEADBEEFu; /* not the caller's: an earlier layout has no such field */
  CHECK_OK(uvc_stereo_open_device(list, 0, &options, &device));
  memset(&full, 0, sizeof(full));
  full.struct_size = (uint32_t)sizeof(full);
  CHECK_OK(uvc_stereo_device_flash_config(device, &full));
  CHECK_EQ(full.busy_wait_ms, 5000u);
  memset(&flash, 0, sizeof(flash));
  flash.struct_size = (uint32_t)offsetof(uvc_stereo_flash_config_t, busy_wait_ms);
  flash.busy_wait_ms = 0xDEADBEEFu;
  CHECK_OK(uvc_stereo_device_flash_config(device, &flash));
  CHECK_EQ(flash.busy_wait_ms, 0xDEADBEEFu);
  CHECK_EQ(flash.user_space_size, full.user_space_size);
  CHECK_EQ(flash.verify_after_write, full.verify_after_write);
  uvc_stereo_device_close(device);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

void argument_tests(void) {
  run_case("Arguments.NullHandlesAndOutPointersAreRefused", null_handles_and_out_pointers_are_refused);
  run_case("Arguments.NullOutPointersOnLiveHandlesAreRefused", null_out_pointers_on_live_handles_are_refused);
  run_case("Arguments.StructsSmallerThanTheirFirstLayoutAreRefused",
           structs_smaller_than_their_first_layout_are_refused);
  run_case("Arguments.StructsOfTheFirstLayoutAreTakenAndTheirLaterFieldsLeftAlone",
           structs_of_the_first_layout_are_taken_and_their_later_fields_left_alone);
}
