// The C interface's look at the cameras this account cannot open: a list handle owning the problems' strings.

#include "uvc_stereo/camera_access.h"

#include <cstddef>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_find_camera_access_problems(uvc_stereo_camera_access_list_t** list) {
  constexpr const char* kFunction = "uvc_stereo_find_camera_access_problems";
  return c_api::checked_call(
      kFunction, [&] { return c_api::require(list, kFunction, "list"); },
      [&] { return c_api::hand_out(find_camera_access_problems(), list); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_camera_access_list_count(const uvc_stereo_camera_access_list_t* list,
                                                                       std::size_t* count) {
  return c_api::count_into("uvc_stereo_camera_access_list_count", list, "list", count,
                           [](const uvc_stereo_camera_access_list_t& held) { return held.problems.size(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_camera_access_list_get(const uvc_stereo_camera_access_list_t* list,
                                                                     std::size_t index,
                                                                     uvc_stereo_camera_access_problem_t* problem) {
  constexpr const char* kFunction = "uvc_stereo_camera_access_list_get";
  return c_api::item_into(
      kFunction, list, "list",
      [&] { return c_api::require_struct(problem, kFunction, "problem", "uvc_stereo_camera_access_problem_t"); }, index,
      "problems", [](const uvc_stereo_camera_access_list_t& held) -> const auto& { return held.problems; },
      [&](const CameraAccessProblem& found) {
        problem->system_error = found.system_error;
        problem->device_path = found.device_path.c_str();
        problem->node = found.node.c_str();
        problem->reason = found.reason.c_str();
        problem->fix = found.fix.c_str();
      });
}

void UVC_STEREO_CALL uvc_stereo_camera_access_list_free(uvc_stereo_camera_access_list_t* list) { delete list; }

}  // extern "C"
