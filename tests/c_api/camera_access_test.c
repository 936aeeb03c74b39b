/* The cameras this account cannot open, through the C interface: a list handle like the scan's. */
#include <string.h>

#include "check.h"

static uvc_stereo_camera_access_problem_t problem_struct(void) {
  uvc_stereo_camera_access_problem_t problem;
  memset(&problem, 0, sizeof(problem));
  problem.struct_size = sizeof(problem);
  return problem;
}

static void a_simulated_rig_leaves_the_list_empty(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_camera_access_list_t* list = NULL;
  uvc_stereo_camera_access_problem_t problem = problem_struct();
  size_t count = 12345;
  test_camera_init(&camera, 2, "SN0002");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_find_camera_access_problems(&list));
  CHECK(list != NULL);
  CHECK_OK(uvc_stereo_camera_access_list_count(list, &count));
  CHECK_EQ(count, 0);
  CHECK_FAILS(uvc_stereo_camera_access_list_get(list, 0, &problem), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_camera_access_list_get: index 0 is out of range (0 problems)");
  uvc_stereo_camera_access_list_free(list);
  finish_rig(rig);
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
  a_simulated_rig_leaves_the_list_empty();
  missing_arguments_are_named();
}
