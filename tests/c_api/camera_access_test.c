/* The cameras this account cannot open, through the C interface: a list handle like the scan's, over a rig camera
   whose video node is refused. */
#include <errno.h>
#include <string.h>

#include "check.h"

static const char kPermissionFix[] =
    "add this account to the group video: sudo usermod -aG video $USER, then log in again; if that is not enough, "
    "install the SDK's udev rule 70-tovanel-uvc-stereo.rules (its package puts it in /usr/lib/udev/rules.d), then "
    "unplug and replug the camera";

static uvc_stereo_camera_access_problem_t problem_struct(void) {
  uvc_stereo_camera_access_problem_t problem;
  memset(&problem, 0, sizeof(problem));
  problem.struct_size = sizeof(problem);
  return problem;
}

static size_t problem_count(uvc_stereo_camera_access_list_t* list) {
  size_t count = 12345;
  CHECK_OK(uvc_stereo_camera_access_list_count(list, &count));
  return count;
}

/* One look for the cameras this account cannot open, with one camera plugged into a fresh rig. */
typedef struct {
  uvc_stereo_rig_t* rig; /* null once the test has finished it early */
  test_camera camera;    /* keeps the camera's strings */
  uvc_stereo_camera_access_list_t* list;
  uvc_stereo_camera_access_problem_t problem; /* ready for uvc_stereo_camera_access_list_get */
} access_look;

/* Plugs a camera of `model_index` whose node access is `access` into a fresh rig, looks, and checks that the list
   holds `expected_problems` problems. */
static void start_look(access_look* look, unsigned model_index, const char* serial, int32_t access,
                       size_t expected_problems) {
  look->rig = test_rig();
  look->list = NULL;
  look->problem = problem_struct();
  test_camera_init(&look->camera, model_index, serial);
  look->camera.camera.node_access = access;
  CHECK_OK(uvc_stereo_rig_add_camera(look->rig, &look->camera.camera, NULL));
  CHECK_OK(uvc_stereo_find_camera_access_problems(&look->list));
  CHECK(look->list != NULL);
  CHECK_EQ(problem_count(look->list), expected_problems);
}

/* Frees the list and finishes the rig, unless the test has finished it already. */
static void end_look(access_look* look) {
  uvc_stereo_camera_access_list_free(look->list);
  if (look->rig != NULL) {
    finish_rig(look->rig);
  }
}

static void a_camera_whose_node_opens_leaves_the_list_empty(void) {
  access_look look;
  start_look(&look, 2, "SN0002", UVC_STEREO_NODE_ACCESS_ALLOWED, 0);
  CHECK_FAILS(uvc_stereo_camera_access_list_get(look.list, 0, &look.problem), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_camera_access_list_get: index 0 is out of range (0 problems)");
  end_look(&look);
}

static void a_camera_without_permission_is_named_with_the_fix(void) {
  access_look look;
  start_look(&look, 0, "SN-REFUSED", UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED, 2); /* capture and metadata node */
  CHECK_OK(uvc_stereo_camera_access_list_get(look.list, 0, &look.problem));
  CHECK_EQ(look.problem.system_error, EACCES);
  CHECK_TEXT(look.problem.device_path, look.camera.device_path);
  CHECK_TEXT(look.problem.node, "/dev/video0");
  CHECK_TEXT(look.problem.reason, "Permission denied");
  CHECK_TEXT(look.problem.fix, kPermissionFix);
  CHECK_OK(uvc_stereo_camera_access_list_get(look.list, 1, &look.problem));
  CHECK_TEXT(look.problem.node, "/dev/video1");
  CHECK_FAILS(uvc_stereo_camera_access_list_get(look.list, 2, &look.problem), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_camera_access_list_get: index 2 is out of range (2 problems)");
  end_look(&look);
}

static void a_busy_camera_asks_to_close_the_other_program(void) {
  access_look look;
  start_look(&look, 1, "SN-BUSY", UVC_STEREO_NODE_ACCESS_BUSY, 2);
  CHECK_OK(uvc_stereo_camera_access_list_get(look.list, 0, &look.problem));
  CHECK_EQ(look.problem.system_error, EBUSY);
  CHECK_TEXT(look.problem.reason, "Device or resource busy");
  CHECK_TEXT(look.problem.fix, "another program holds the node: close it and retry");
  end_look(&look);
}

/* The list owns its strings: they outlive the rig and a later look. */
static void the_problems_strings_live_as_long_as_the_list(void) {
  access_look look;
  start_look(&look, 0, "SN-KEPT", UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED, 2);
  finish_rig(look.rig);
  look.rig = NULL;
  CHECK_OK(uvc_stereo_camera_access_list_get(look.list, 1, &look.problem));
  CHECK_TEXT(look.problem.node, "/dev/video1");
  CHECK_TEXT(look.problem.fix, kPermissionFix);
  end_look(&look);
}

static void the_refused_cameras_flash_and_imu_fail_as_on_linux(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  char json[64];
  size_t required = 0;
  uint16_t format_version = 0;
  test_camera_init(&camera, 0, "SN-REFUSED");
  camera.camera.node_access = UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED;
  device = plug_and_open(rig, &camera, 0);
  CHECK_FAILS(uvc_stereo_device_read_json(device, json, sizeof(json), &required, &format_version),
              UVC_STEREO_ERROR_DEVICE_UNAVAILABLE,
              "SonixCam_GetSerialFlashType failed: vendor_code=ecGetKsControlFail(5)");
  CHECK_FAILS(uvc_stereo_device_open_imu(device), UVC_STEREO_ERROR_PLATFORM_ERROR,
              "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)");
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void a_node_access_no_constant_names_is_refused(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  size_t count = 1;
  test_camera_init(&camera, 0, "SN-ODD");
  camera.camera.node_access = 3;
  CHECK_FAILS(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_add_camera: camera.node_access is not a UVC_STEREO_NODE_ACCESS_* value");
  camera.camera.node_access = -1;
  CHECK_FAILS(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_add_camera: camera.node_access is not a UVC_STEREO_NODE_ACCESS_* value");
  CHECK_OK(uvc_stereo_rig_camera_count(rig, &count));
  CHECK_EQ(count, 0);
  finish_rig(rig);
}

/* As after joining the node's group: the problem is gone and the IMU opens. */
static void a_camera_given_access_is_no_problem_any_more(void) {
  access_look look;
  uvc_stereo_device_list_t* devices = NULL;
  uvc_stereo_device_t* device = NULL;
  start_look(&look, 0, "SN-FIXED", UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED, 2);
  uvc_stereo_camera_access_list_free(look.list);
  CHECK_FAILS(uvc_stereo_rig_set_node_access(look.rig, 0, 7), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_set_node_access: access is not a UVC_STEREO_NODE_ACCESS_* value");
  CHECK_OK(uvc_stereo_rig_set_node_access(look.rig, 0, UVC_STEREO_NODE_ACCESS_ALLOWED));
  CHECK_OK(uvc_stereo_find_camera_access_problems(&look.list));
  CHECK_EQ(problem_count(look.list), 0);
  devices = scan_all();
  CHECK_OK(uvc_stereo_open_device(devices, 0, NULL, &device));
  uvc_stereo_device_list_free(devices);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  CHECK_OK(uvc_stereo_device_close_imu(device));
  uvc_stereo_device_close(device);
  end_look(&look);
}

static void missing_arguments_are_named(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_camera_access_list_t* list = NULL;
  uvc_stereo_camera_access_problem_t problem = problem_struct();
  size_t count = 0;
  CHECK_FAILS(uvc_stereo_find_camera_access_problems(NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_find_camera_access_problems: list is null");
  CHECK_OK(uvc_stereo_find_camera_access_problems(&list));
  CHECK_FAILS(uvc_stereo_camera_access_list_count(NULL, &count), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_camera_access_list_count: list is null");
  CHECK_FAILS(uvc_stereo_camera_access_list_count(list, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_camera_access_list_count: count is null");
  CHECK_FAILS(uvc_stereo_camera_access_list_get(list, 0, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_camera_access_list_get: problem is null");
  problem.struct_size = 4;
  CHECK_FAILS_WITH_PREFIX(uvc_stereo_camera_access_list_get(list, 0, &problem), UVC_STEREO_ERROR_INVALID_ARGUMENT,
                          "uvc_stereo_camera_access_list_get: problem->struct_size is 4, smaller than "
                          "sizeof(uvc_stereo_camera_access_problem_t) ");
  uvc_stereo_camera_access_list_free(list);
  uvc_stereo_camera_access_list_free(NULL);
  finish_rig(rig);
}

void camera_access_tests(void) {
  a_camera_whose_node_opens_leaves_the_list_empty();
  a_camera_without_permission_is_named_with_the_fix();
  a_busy_camera_asks_to_close_the_other_program();
  the_problems_strings_live_as_long_as_the_list();
  the_refused_cameras_flash_and_imu_fail_as_on_linux();
  a_node_access_no_constant_names_is_refused();
  a_camera_given_access_is_no_problem_any_more();
  missing_arguments_are_named();
}
