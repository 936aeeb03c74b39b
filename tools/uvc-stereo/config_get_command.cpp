#include <string>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/file_io.h"
#include "uvc-stereo/json_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

CommandSyntax config_get_syntax() {
  CommandSyntax syntax = camera_command_syntax(
      "config get", "[options]",
      "Prints the JSON configuration stored in the camera's flash, minified as the camera holds it.\n"
      "The record's format version goes to standard error, so the JSON can be piped or saved as is.");
  syntax.options.push_back(
      {"out", "FILE", "write the JSON to FILE instead of standard output (- for standard output)"});
  syntax.options.push_back({"force", "", "replace the --out FILE if it exists (by default it is left alone)"});
  syntax.options.push_back({"pretty", "", "indent the JSON for reading and editing"});
  syntax.details += "The output is accepted unchanged by 'uvc-stereo config set', on this camera or another.\n";
  return syntax;
}

int config_get_body(const ParsedArguments& arguments, Console& console) {
  // "-" is standard output, as for every file option of the tool.
  const std::optional<std::string> out = arguments.value("out");
  const bool to_file = out && *out != "-";
  const bool replace = arguments.has("force");
  if (to_file) {
    if (const std::string refused = output_path_refusal(*out, replace, ""); !refused.empty()) {
      return report_file_error(refused + "; the camera was not read", console);
    }
  }
  OpenedSelection opened = open_selected_camera("config get", arguments, console);
  if (!opened.device) {
    return opened.exit_status;
  }
  Result<ReadJsonResult> read = opened.device->read_json();
  if (!read.ok()) {
    return report_sdk_error(read.status(), "reading the configuration of " + describe_camera(*opened.camera), console);
  }
  const ReadJsonResult& record = read.value();
  const std::string text = (arguments.has("pretty") ? pretty_print_json(record.json) : record.json) + "\n";
  console.err << "format version: " << record.format_version << "\n";
  if (to_file) {
    std::string error;
    if (!write_output_file(*out, text, replace, error)) {
      return report_file_error(error, console);
    }
    console.err << "wrote the configuration of " << describe_camera(*opened.camera) << " to " << *out << "\n";
    return kExitOk;
  }
  console.out << text;
  return kExitOk;
}

}  // namespace

int run_config_get(const std::vector<std::string>& args, Console& console) {
  return run_command(config_get_syntax(), args, console, config_get_body);
}

}  // namespace tovanel::uvc_stereo::cli
