#include "uvc-stereo/camera_access_output.h"

#include "uvc-stereo/terminal_text.h"

namespace tovanel::uvc_stereo::cli {

std::vector<std::string> camera_access_warnings(const std::vector<CameraAccessProblem>& problems) {
  std::vector<std::string> warnings;
  std::vector<std::string> cameras;
  for (std::size_t first = 0; first < problems.size(); ++first) {
    const CameraAccessProblem& problem = problems[first];
    bool seen = false;
    for (const std::string& camera : cameras) {
      seen = seen || camera == problem.device_path;
    }
    if (seen) {
      continue;
    }
    cameras.push_back(problem.device_path);
    // Every node of the camera in one line: the reasons are usually one, and so is the fix.
    std::string nodes;
    for (std::size_t i = first; i < problems.size(); ++i) {
      if (problems[i].device_path == problem.device_path) {
        nodes +=
            (nodes.empty() ? "" : ", ") + terminal_safe(problems[i].node) + ": " + terminal_safe(problems[i].reason);
      }
    }
    warnings.push_back("uvc-stereo: warning: this account cannot use the camera at " +
                       terminal_safe(problem.device_path) + " (" + nodes + "); to fix: " + terminal_safe(problem.fix) +
                       "\n");
  }
  return warnings;
}

void warn_of_camera_access_problems(std::ostream& err) {
  const Result<std::vector<CameraAccessProblem>> problems = find_camera_access_problems();
  if (!problems.ok()) {
    return;
  }
  for (const std::string& warning : camera_access_warnings(problems.value())) {
    err << warning;
  }
}

}  // namespace tovanel::uvc_stereo::cli
