// The C interface's look at the cameras this account cannot open: a list handle owning the problems' strings.

#include "uvc_stereo/camera_access.h"

#include <cstddef>
#include <memory>
#include <vector>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_find_camera_access_problems(uvc_stereo_camera_access_list_t** list) {
  constexpr const char* kFunction = "uvc_stereo_find_camera_access_problems";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::require(list, kFunction, "list");
    if (!checked.ok()) {
      return checked;
    }
    Result<std::vector<CameraAccessProblem>> found = find_camera_access_problems();
    if (!found.ok()) {
      return found.status();
    }
    auto made = std::make_unique<uvc_stereo_camera_access_list_t>();
    made->problems = std::move(found).value();
    *list = made.release();
    return Status();
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_camera_access_list_count(const uvc_stereo_camera_access_list_t* list,
                                                                       std::size_t* count) {
  constexpr const char* kFunction = "uvc_stereo_camera_access_list_count";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(list, kFunction, "list"), c_api::require(count, kFunction, "count"));
    if (checked.ok()) {
      *count = list->problems.size();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_camera_access_list_get(const uvc_stereo_camera_access_list_t* list,
                                                                     std::size_t index,
                                                                     uvc_stereo_camera_access_problem_t* problem) {
  constexpr const char* kFunction = "uvc_stereo_camera_access_list_get";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(
        c_api::require(list, kFunction, "list"),
        c_api::require_struct(problem, kFunction, "problem", "uvc_stereo_camera_access_problem_t"));
    if (checked.ok()) {
      checked = c_api::require_index(index, list->problems.size(), kFunction, "problems");
    }
    if (checked.ok()) {
      const CameraAccessProblem& found = list->problems[index];
      problem->system_error = found.system_error;
      problem->device_path = found.device_path.c_str();
      problem->node = found.node.c_str();
      problem->reason = found.reason.c_str();
      problem->fix = found.fix.c_str();
    }
    return checked;
  });
}

void UVC_STEREO_CALL uvc_stereo_camera_access_list_free(uvc_stereo_camera_access_list_t* list) { delete list; }

}  // extern "C"
