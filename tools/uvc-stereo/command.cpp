#include "uvc-stereo/command.h"

#include <exception>
#include <memory>

#include "uvc-stereo/camera_access_output.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/simulated_scenario.h"

namespace tovanel::uvc_stereo::cli {

int run_command(const CommandSyntax& syntax, const std::vector<std::string>& args, Console& console, CommandBody body) {
  try {
    ParseOutcome parsed = parse_arguments(syntax, args);
    if (!parsed.arguments) {
      return report_usage_error(syntax.name, parsed.error, console);
    }
    if (parsed.arguments->has("help")) {
      print_command_help(syntax, console.out);
      return kExitOk;
    }
    std::unique_ptr<SimulatedScenario> scenario;
    if (parsed.arguments->has("simulate")) {
      scenario = std::make_unique<SimulatedScenario>(parsed.arguments->value("simulate").value_or(""));
      if (!scenario->status().ok()) {
        return report_sdk_error(scenario->status(), "setting up the simulated cameras", console);
      }
    }
    // Said before the work starts, so that a command that then fails on such a camera has
    // already said why.
    if (syntax.meets_cameras) {
      warn_of_camera_access_problems(console.err);
    }
    return body(*parsed.arguments, console);
  } catch (const std::exception& error) {
    console.err << "uvc-stereo: ToolError: " << error.what() << "\n";
  } catch (...) {
    console.err << "uvc-stereo: ToolError: unexpected failure in uvc-stereo " << syntax.name << "\n";
  }
  return kExitToolFailure;
}

}  // namespace tovanel::uvc_stereo::cli
