#pragma once

#include <string>
#include <vector>

#include "uvc-stereo/console.h"

namespace tovanel::uvc_stereo::cli {

// The tool's commands. Each takes the arguments after its name and returns the exit status.
[[nodiscard]] int run_scan(const std::vector<std::string>& args, Console& console);
[[nodiscard]] int run_info(const std::vector<std::string>& args, Console& console);
[[nodiscard]] int run_config_get(const std::vector<std::string>& args, Console& console);
[[nodiscard]] int run_config_set(const std::vector<std::string>& args, Console& console);
[[nodiscard]] int run_imu(const std::vector<std::string>& args, Console& console);
[[nodiscard]] int run_doctor(const std::vector<std::string>& args, Console& console);

// The whole tool: `args` is the command line without the program name.
[[nodiscard]] int run_cli(const std::vector<std::string>& args, Console& console);

}  // namespace tovanel::uvc_stereo::cli
