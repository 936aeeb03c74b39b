#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/device_output.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/json_writer.h"
#include "uvc-stereo/text_table.h"

namespace tovanel::uvc_stereo::cli {
namespace {

CommandSyntax scan_syntax() {
  CommandSyntax syntax;
  syntax.name = "scan";
  syntax.synopsis = "[options]";
  syntax.summary =
      "Lists the supported cameras attached now: USB ids, serial number, names, device path, and the\n"
      "capture index that each capture backend (CAP_DSHOW, CAP_MSMF) gives the camera, to open its video.";
  syntax.options = scan_filter_options();
  syntax.options.push_back({"json", "", "print the list as JSON"});
  syntax.meets_cameras = true;
  syntax.details = "The INDEX column is what --index of the other commands takes (with the same filters).\n";
  return syntax;
}

int scan_body(const ParsedArguments& arguments, Console& console) {
  const FilterOutcome filter = scan_filter_from(arguments);
  if (!filter.filter) {
    return report_usage_error("scan", filter.error, console);
  }
  Result<std::vector<DeviceInfo>> scanned = scan_devices(*filter.filter);
  if (!scanned.ok()) {
    return report_sdk_error(scanned.status(), "scanning for cameras", console);
  }
  const std::vector<DeviceInfo>& devices = scanned.value();

  if (arguments.has("json")) {
    JsonWriter json;
    json.begin_object().key("cameras").begin_array();
    for (std::size_t i = 0; i < devices.size(); ++i) {
      json.begin_object();
      write_device_fields(json, devices[i], i);
      json.end_object();
    }
    json.end_array().end_object();
    console.out << json.pretty_text() << "\n";
    return kExitOk;
  }

  if (devices.empty()) {
    console.err << "no supported camera found\n";
    return kExitOk;
  }
  TextTable table;
  table.add_row({"INDEX", "VID:PID", "SERIAL", "NAME", "DESCRIPTOR", "CAPTURE", "PATH"});
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const DeviceInfo& info = devices[i];
    table.add_row({std::to_string(i), vid_pid_text(info.vendor_id, info.product_id), or_dash(info.serial_number),
                   or_dash(info.friendly_name), or_dash(info.descriptor_text), capture_backends_text(info),
                   or_dash(info.device_path)});
  }
  table.render(console.out);
  return kExitOk;
}

}  // namespace

int run_scan(const std::vector<std::string>& args, Console& console) {
  return run_command(scan_syntax(), args, console, scan_body);
}

}  // namespace tovanel::uvc_stereo::cli
