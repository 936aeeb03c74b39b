/* Scanning through the C interface: lists, filters, capture indices and failures. */
#include <stdio.h>
#include <string.h>

#include "check.h"

static uvc_stereo_device_info_t info_struct(void) {
  uvc_stereo_device_info_t info;
  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  return info;
}

static size_t count_of(const uvc_stereo_device_list_t* list) {
  size_t count = 12345;
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  return count;
}

static size_t scan_count(const uvc_stereo_scan_filter_t* filter) {
  uvc_stereo_device_list_t* list = NULL;
  size_t count = 12345;
  CHECK_OK(uvc_stereo_scan_devices(filter, &list));
  count = count_of(list);
  uvc_stereo_device_list_free(list);
  return count;
}

static void no_camera_is_an_empty_list(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_device_list_t* list = scan_all();
  uvc_stereo_device_info_t info = info_struct();
  CHECK(list != NULL);
  CHECK_EQ(count_of(list), 0);
  CHECK_FAILS(uvc_stereo_device_list_get(list, 0, &info), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_device_list_get: index 0 is out of range (0 devices)");
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

static void each_camera_is_listed_with_its_ids_texts_and_capture_indices(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera first;
  test_camera second;
  uvc_stereo_rig_capture_device_t msmf[2];
  uvc_stereo_rig_capture_device_t dshow[1];
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_info_t info = info_struct();
  int32_t index = -1;

  test_camera_init(&first, 2, "SN0002");
  test_camera_init(&second, 4, "SN0004");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &first.camera, &index));
  CHECK_EQ(index, 0);
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &second.camera, &index));
  CHECK_EQ(index, 1);
  memset(msmf, 0, sizeof(msmf));
  msmf[0].struct_size = sizeof(msmf[0]);
  msmf[0].friendly_name = "Integrated Webcam";
  msmf[0].device_path = "\\\\?\\USB#VID_046D&PID_0825&MI_00#WEB#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL";
  msmf[1].struct_size = sizeof(msmf[1]);
  msmf[1].friendly_name = "Tovanel Stereo Camera";
  msmf[1].device_path = second.device_path;
  CHECK_OK(uvc_stereo_rig_set_capture_devices(rig, UVC_STEREO_BACKEND_MSMF, msmf, 2));
  memset(dshow, 0, sizeof(dshow));
  dshow[0].struct_size = sizeof(dshow[0]);
  dshow[0].friendly_name = "Tovanel Stereo Camera";
  dshow[0].device_path = second.device_path;
  CHECK_OK(uvc_stereo_rig_set_capture_devices(rig, UVC_STEREO_BACKEND_DSHOW, dshow, 1));

  list = scan_all();
  CHECK_EQ(count_of(list), 2);
  CHECK_OK(uvc_stereo_device_list_get(list, 0, &info));
  CHECK_EQ(info.vendor_id, 0x0C45);
  CHECK_EQ(info.product_id, 0x6368);
  CHECK_TEXT(info.serial_number, "SN0002");
  CHECK_TEXT(info.descriptor_text, "Tovanel");
  CHECK_TEXT(info.friendly_name, "Tovanel Stereo Camera");
  CHECK_TEXT(info.extra_text, "");
  CHECK_TEXT(info.device_path, first.device_path);
  CHECK(!info.aux_flag_a && !info.aux_flag_b);
  CHECK_EQ(info.backend_index_count, 0);

  CHECK_OK(uvc_stereo_device_list_get(list, 1, &info));
  CHECK_EQ(info.product_id, 0x636A);
  CHECK_TEXT(info.serial_number, "SN0004");
  CHECK_EQ(info.backend_index_count, 2);
  /* In increasing backend order: DirectShow (700) before Media Foundation (1400). */
  CHECK_EQ(info.backend_indices[0].backend, UVC_STEREO_BACKEND_DSHOW);
  CHECK_EQ(info.backend_indices[0].index, 0);
  CHECK_EQ(info.backend_indices[1].backend, UVC_STEREO_BACKEND_MSMF);
  CHECK_EQ(info.backend_indices[1].index, 1);
  CHECK_FAILS(uvc_stereo_device_list_get(list, 2, &info), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_device_list_get: index 2 is out of range (2 devices)");

  /* A failing listing costs only its own indices. */
  CHECK_OK(uvc_stereo_rig_set_capture_listing_fails(rig, UVC_STEREO_BACKEND_DSHOW, true));
  uvc_stereo_device_list_free(list);
  list = scan_all();
  CHECK_OK(uvc_stereo_device_list_get(list, 1, &info));
  CHECK_EQ(info.backend_index_count, 1);
  CHECK_EQ(info.backend_indices[0].backend, UVC_STEREO_BACKEND_MSMF);
  CHECK_OK(uvc_stereo_rig_set_capture_listing_fails(rig, UVC_STEREO_BACKEND_DSHOW, false));

  /* The strings stay valid while the list lives, whatever the rig does meanwhile. */
  CHECK_OK(uvc_stereo_rig_unplug(rig, 1));
  CHECK_TEXT(info.serial_number, "SN0004");
  CHECK_TEXT(info.device_path, second.device_path);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

static void the_filter_narrows_the_scan(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  test_camera b;
  test_camera unnamed;
  uvc_stereo_scan_filter_t filter;
  test_camera_init(&a, 0, "A");
  test_camera_init(&b, 1, "B");
  test_camera_init(&unnamed, 1, "C");
  unnamed.camera.serial_number = NULL;
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &b.camera, NULL));
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &unnamed.camera, NULL));

  memset(&filter, 0, sizeof(filter));
  filter.struct_size = sizeof(filter);
  CHECK_EQ(scan_count(&filter), 3);
  CHECK_EQ(scan_count(NULL), 3);
  filter.product_id = 0x6367; /* not looked at without has_product_id */
  CHECK_EQ(scan_count(&filter), 3);
  filter.has_product_id = true;
  CHECK_EQ(scan_count(&filter), 2);
  filter.require_serial_number = true;
  CHECK_EQ(scan_count(&filter), 1);
  filter.has_vendor_id = true;
  filter.vendor_id = 0x046D;
  CHECK_EQ(scan_count(&filter), 0);
  finish_rig(rig);
}

static void unplugged_cameras_vanish_and_come_back(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  test_camera b;
  size_t cameras = 0;
  test_camera_init(&a, 0, "A");
  test_camera_init(&b, 3, "B");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &b.camera, NULL));
  CHECK_OK(uvc_stereo_rig_camera_count(rig, &cameras));
  CHECK_EQ(cameras, 2);
  CHECK_OK(uvc_stereo_rig_unplug(rig, 0));
  CHECK_EQ(scan_count(NULL), 1);
  CHECK_OK(uvc_stereo_rig_plug(rig, 0));
  CHECK_EQ(scan_count(NULL), 2);
  CHECK_FAILS(uvc_stereo_rig_unplug(rig, 2), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_unplug: the rig has no camera 2 (it has 2)");
  CHECK_FAILS(uvc_stereo_rig_plug(rig, -1), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_plug: the rig has no camera -1 (it has 2)");
  finish_rig(rig);
}

static void a_library_that_cannot_start_fails_the_scan(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  uvc_stereo_device_list_t* list = NULL;
  test_camera_init(&a, 0, "A");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  CHECK_OK(uvc_stereo_rig_set_library_present(rig, false));
  CHECK_FAILS(uvc_stereo_scan_devices(NULL, &list), UVC_STEREO_ERROR_PLATFORM_ERROR,
              "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  CHECK(list == NULL);
  CHECK_OK(uvc_stereo_rig_set_library_present(rig, true));
  CHECK_EQ(scan_count(NULL), 1);
  finish_rig(rig);
}

static void an_injected_fault_fails_the_scan_with_the_vendor_code(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  uvc_stereo_device_list_t* list = NULL;
  test_camera_init(&a, 0, "A");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  CHECK_OK(uvc_stereo_rig_add_fault(rig, "SonixCam_Init", 1, 1, 7, false));
  CHECK_FAILS(uvc_stereo_scan_devices(NULL, &list), UVC_STEREO_ERROR_PLATFORM_ERROR,
              "SonixCam_Init failed: vendor_code=ecDeviceDisconnect(7)");
  /* The fault was for one use only. */
  CHECK_EQ(scan_count(NULL), 1);
  /* A fault whose code cannot be asked for. */
  CHECK_OK(uvc_stereo_rig_add_fault(rig, "SonixCam_Init", 1, 0, 4, true));
  CHECK_FAILS(uvc_stereo_scan_devices(NULL, &list), UVC_STEREO_ERROR_PLATFORM_ERROR,
              "SonixCam_Init failed: vendor_code=ecUnknow(0)");
  CHECK_FAILS(uvc_stereo_scan_devices(NULL, &list), UVC_STEREO_ERROR_PLATFORM_ERROR,
              "SonixCam_Init failed: vendor_code=ecUnknow(0)");
  CHECK_OK(uvc_stereo_rig_clear_faults(rig));
  CHECK_EQ(scan_count(NULL), 1);
  finish_rig(rig);
}

static void a_scan_leaves_an_exact_call_log(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera a;
  uvc_stereo_rig_call_log_t* log = NULL;
  uvc_stereo_rig_call_t call;
  char expected[128];
  size_t count = 0;
  size_t i;
  test_camera_init(&a, 0, "A");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &a.camera, NULL));
  CHECK_EQ(scan_count(NULL), 1);
  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_OK(uvc_stereo_rig_call_log_count(log, &count));
  CHECK(count >= 3);
  memset(&call, 0, sizeof(call));
  call.struct_size = sizeof(call);
  CHECK_OK(uvc_stereo_rig_call_log_get(log, 0, &call));
  CHECK_TEXT(call.name, "SonixCam_Init");
  CHECK(call.succeeded);
  CHECK_EQ(call.open_sessions, 0);
  CHECK_OK(uvc_stereo_rig_call_log_get(log, count - 1, &call));
  CHECK_TEXT(call.name, "SonixCam_UnInit");
  CHECK_EQ(call.open_sessions, 1);
  for (i = 0; i < count; ++i) {
    CHECK_OK(uvc_stereo_rig_call_log_get(log, i, &call));
    CHECK(call.lock_held);
    CHECK(call.arg_count == 0 || call.args != NULL);
  }
  snprintf(expected, sizeof(expected), "uvc_stereo_rig_call_log_get: index %lu is out of range (%lu calls)",
           (unsigned long)count, (unsigned long)count);
  CHECK_FAILS(uvc_stereo_rig_call_log_get(log, count, &call), UVC_STEREO_ERROR_INVALID_ARGUMENT, expected);
  uvc_stereo_rig_call_log_free(log);

  /* Clearing empties the log; the snapshot taken before stays as it was. */
  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_OK(uvc_stereo_rig_clear_calls(rig));
  CHECK_OK(uvc_stereo_rig_call_log_count(log, &count));
  CHECK(count >= 3);
  uvc_stereo_rig_call_log_free(log);
  CHECK_EQ(count_calls(rig, "SonixCam_Init"), 0);
  finish_rig(rig);
}

void scan_tests(void) {
  run_case("Scan.NoCameraIsAnEmptyList", no_camera_is_an_empty_list);
  run_case("Scan.EachCameraIsListedWithItsIdsTextsAndCaptureIndices",
           each_camera_is_listed_with_its_ids_texts_and_capture_indices);
  run_case("Scan.TheFilterNarrowsTheScan", the_filter_narrows_the_scan);
  run_case("Scan.UnpluggedCamerasVanishAndComeBack", unplugged_cameras_vanish_and_come_back);
  run_case("Scan.ALibraryThatCannotStartFailsTheScan", a_library_that_cannot_start_fails_the_scan);
  run_case("Scan.AnInjectedFaultFailsTheScanWithTheVendorCode", an_injected_fault_fails_the_scan_with_the_vendor_code);
  run_case("Scan.AScanLeavesAnExactCallLog", a_scan_leaves_an_exact_call_log);
}
