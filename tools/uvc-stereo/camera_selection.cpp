#include "uvc-stereo/camera_selection.h"

#include <cstdio>
#include <string_view>

#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/terminal_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

constexpr std::uint64_t kMaxIndex = 1u << 20;

std::string ascii_lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return text;
}

bool same_text(const std::string& a, const std::string& b) { return ascii_lower(a) == ascii_lower(b); }

// The cameras whose `field` equals `wanted`; when none does, those whose field equals it
// without regard to letter case.
template <typename Field>
std::vector<std::size_t> matching(const std::vector<DeviceInfo>& devices, const std::string& wanted, Field field) {
  std::vector<std::size_t> exact;
  std::vector<std::size_t> folded;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const std::string& text = field(devices[i]);
    if (text.empty()) {
      continue;
    }
    if (text == wanted) {
      exact.push_back(i);
    } else if (same_text(text, wanted)) {
      folded.push_back(i);
    }
  }
  return exact.empty() ? folded : exact;
}

// Whether `serial` names one camera among all attached, not only among those the filter
// let through: a later run that selects by it alone must find this camera and no other.
bool serial_unique(const std::string& serial, const DeviceScanFilter& filter, const std::vector<DeviceInfo>& scanned) {
  if (serial.empty()) {
    return false;
  }
  const bool unfiltered = !filter.vendor_id && !filter.product_id && !filter.require_serial_number;
  Result<std::vector<DeviceInfo>> all = unfiltered ? Result<std::vector<DeviceInfo>>(scanned) : scan_devices();
  if (!all.ok()) {
    return false;
  }
  std::size_t sharing = 0;
  for (const DeviceInfo& info : all.value()) {
    sharing += same_text(info.serial_number, serial) ? 1 : 0;
  }
  return sharing == 1;
}

int device_unavailable(const std::string& message, Console& console) {
  return report_sdk_error(Status(ErrorCode::DeviceUnavailable, message), console);
}

}  // namespace

std::vector<OptionSyntax> scan_filter_options() {
  return {
      {"vid", "HEX", "only cameras with this USB vendor id (hexadecimal, e.g. 0c45)"},
      {"pid", "HEX", "only cameras with this USB product id (hexadecimal)"},
      {"require-serial", "", "only cameras that report a serial number"},
  };
}

std::vector<OptionSyntax> camera_selection_options() {
  std::vector<OptionSyntax> options = {
      {"serial", "SN", "the camera with this serial number"},
      {"path", "PATH", "the camera with this device path"},
      {"index", "N", "the camera listed at index N by scan (with the same filters)"},
  };
  for (OptionSyntax& filter : scan_filter_options()) {
    options.push_back(std::move(filter));
  }
  return options;
}

std::string camera_selection_help() {
  return "Choose the camera with --serial, --path or --index (as 'uvc-stereo scan' lists them); with only\n"
         "one camera attached none is needed.\n\n";
}

CommandSyntax camera_command_syntax(std::string name, std::string synopsis, std::string summary) {
  CommandSyntax syntax;
  syntax.name = std::move(name);
  syntax.synopsis = std::move(synopsis);
  syntax.summary = std::move(summary);
  syntax.options = camera_selection_options();
  syntax.details = camera_selection_help();
  syntax.meets_cameras = true;
  return syntax;
}

FilterOutcome scan_filter_from(const ParsedArguments& arguments) {
  FilterOutcome outcome;
  DeviceScanFilter filter;
  if (const std::optional<std::string> vid = arguments.value("vid")) {
    filter.vendor_id = parse_usb_id(*vid);
    if (!filter.vendor_id) {
      outcome.error = "--vid takes a hexadecimal USB vendor id such as 0c45, not '" + *vid + "'";
      return outcome;
    }
  }
  if (const std::optional<std::string> pid = arguments.value("pid")) {
    filter.product_id = parse_usb_id(*pid);
    if (!filter.product_id) {
      outcome.error = "--pid takes a hexadecimal USB product id such as 6366, not '" + *pid + "'";
      return outcome;
    }
  }
  filter.require_serial_number = arguments.has("require-serial");
  outcome.filter = filter;
  return outcome;
}

Selection select_camera(const std::string& command, const ParsedArguments& arguments, Console& console) {
  Selection selection;
  const int selectors =
      (arguments.has("serial") ? 1 : 0) + (arguments.has("path") ? 1 : 0) + (arguments.has("index") ? 1 : 0);
  if (selectors > 1) {
    selection.exit_status =
        report_usage_error(command, "choose the camera with only one of --serial, --path and --index", console);
    return selection;
  }
  std::optional<std::uint64_t> wanted_index;
  if (const std::optional<std::string> index = arguments.value("index")) {
    wanted_index = parse_unsigned(*index, kMaxIndex);
    if (!wanted_index) {
      selection.exit_status =
          report_usage_error(command, "--index takes a camera index such as 0, not '" + *index + "'", console);
      return selection;
    }
  }
  const FilterOutcome filter = scan_filter_from(arguments);
  if (!filter.filter) {
    selection.exit_status = report_usage_error(command, filter.error, console);
    return selection;
  }

  Result<std::vector<DeviceInfo>> scanned = scan_devices(*filter.filter);
  if (!scanned.ok()) {
    selection.exit_status = report_sdk_error(scanned.status(), "scanning for cameras", console);
    return selection;
  }
  const std::vector<DeviceInfo>& devices = scanned.value();
  if (devices.empty()) {
    selection.exit_status = device_unavailable("no supported camera found", console);
    return selection;
  }

  std::optional<std::size_t> chosen;
  if (wanted_index) {
    if (*wanted_index >= devices.size()) {
      selection.exit_status = device_unavailable("no camera at index " + std::to_string(*wanted_index) +
                                                     " (the scan found " + std::to_string(devices.size()) + ")",
                                                 console);
      return selection;
    }
    chosen = static_cast<std::size_t>(*wanted_index);
  } else if (arguments.has("serial") || arguments.has("path")) {
    const bool by_serial = arguments.has("serial");
    const std::string wanted = *arguments.value(by_serial ? "serial" : "path");
    const std::string what = by_serial ? "serial number" : "device path";
    const std::vector<std::size_t> found =
        matching(devices, wanted, [by_serial](const DeviceInfo& info) -> const std::string& {
          return by_serial ? info.serial_number : info.device_path;
        });
    if (found.empty()) {
      selection.exit_status = device_unavailable("no camera with " + what + " '" + wanted + "' in the scan", console);
      return selection;
    }
    if (found.size() > 1) {
      std::string candidates;
      for (const std::size_t i : found) {
        candidates += (candidates.empty() ? "" : ", ") +
                      describe_camera(SelectedCamera{devices[i], i, devices.size(), *filter.filter, false});
      }
      selection.exit_status =
          report_usage_error(command,
                             what + " '" + wanted + "' matches " + std::to_string(found.size()) + " cameras (" +
                                 candidates + "); choose one with " + (by_serial ? "--path or --index" : "--index"),
                             console);
      return selection;
    }
    chosen = found.front();
  } else if (devices.size() == 1) {
    chosen = 0;
  } else {
    selection.exit_status = report_usage_error(
        command, std::to_string(devices.size()) + " cameras found; choose one with --serial, --path or --index",
        console);
    return selection;
  }
  const bool unique = serial_unique(devices[*chosen].serial_number, *filter.filter, devices);
  selection.camera = SelectedCamera{devices[*chosen], *chosen, devices.size(), *filter.filter, unique};
  return selection;
}

OpenedCamera open_camera(const SelectedCamera& camera, std::uint32_t required_capabilities, Console& console) {
  OpenedCamera opened;
  OpenDeviceOptions options;
  options.required_capabilities = required_capabilities;
  Result<Device> device = open_device(camera.info, options);
  if (!device.ok()) {
    opened.exit_status = report_sdk_error(device.status(), "opening " + describe_camera(camera), console);
    return opened;
  }
  opened.device.emplace(std::move(device).value());
  return opened;
}

OpenedSelection open_selected_camera(const std::string& command, const ParsedArguments& arguments, Console& console) {
  OpenedSelection opened;
  Selection selection = select_camera(command, arguments, console);
  if (!selection.camera) {
    opened.exit_status = selection.exit_status;
    return opened;
  }
  OpenedCamera camera = open_camera(*selection.camera, 0, console);
  if (!camera.device) {
    opened.exit_status = camera.exit_status;
    return opened;
  }
  opened.camera = std::move(selection.camera);
  opened.device = std::move(camera.device);
  return opened;
}

std::string vid_pid_text(std::uint16_t vendor_id, std::uint16_t product_id) {
  char text[16];
  std::snprintf(text, sizeof(text), "%04x:%04x", static_cast<unsigned>(vendor_id), static_cast<unsigned>(product_id));
  return text;
}

std::string vidpid_key(std::uint16_t vendor_id, std::uint16_t product_id) {
  char text[16];
  std::snprintf(text, sizeof(text), "%04x%04x", static_cast<unsigned>(vendor_id), static_cast<unsigned>(product_id));
  return text;
}

std::string describe_camera(const SelectedCamera& camera) {
  std::string text =
      "camera " + std::to_string(camera.index) + " (" + vid_pid_text(camera.info.vendor_id, camera.info.product_id);
  if (!camera.info.serial_number.empty()) {
    text += ", serial " + terminal_safe(camera.info.serial_number);
  }
  return text + ")";
}

std::string camera_label(const SelectedCamera& camera) {
  return camera.info.serial_number.empty() ? "index" + std::to_string(camera.index) : camera.info.serial_number;
}

std::string quoted_for_shell(const std::string& text) {
#if defined(_WIN32)
  // Drive letters and backslashes are ordinary characters to the shells of Windows.
  constexpr std::string_view kPlainPunctuation = ".-_/\\:";
#else
  constexpr std::string_view kPlainPunctuation = ".-_/";
#endif
  bool plain = !text.empty();
  for (char c : text) {
    plain = plain && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      kPlainPunctuation.find(c) != std::string_view::npos);
  }
  if (plain) {
    return text;
  }
  std::string quoted = "'";
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\'') {
      quoted += "'\\''";
    } else if (byte < 0x20 || byte == 0x7F) {
      char piece[16];
      std::snprintf(piece, sizeof(piece), "'$'\\x%02x''", static_cast<unsigned>(byte));
      quoted += piece;
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

std::string reselect_options(const SelectedCamera& camera) {
  const std::string& serial = camera.info.serial_number;
  if (camera.serial_unique && terminal_safe(serial) == serial) {
    return "--serial " + quoted_for_shell(serial);
  }
  if (!camera.info.device_path.empty()) {
    return "--path " + quoted_for_shell(camera.info.device_path);
  }
  std::string options;
  if (camera.filter.vendor_id) {
    options += "--vid " + vid_pid_text(*camera.filter.vendor_id, 0).substr(0, 4) + " ";
  }
  if (camera.filter.product_id) {
    options += "--pid " + vid_pid_text(*camera.filter.product_id, 0).substr(0, 4) + " ";
  }
  if (camera.filter.require_serial_number) {
    options += "--require-serial ";
  }
  return options + "--index " + std::to_string(camera.index);
}

}  // namespace tovanel::uvc_stereo::cli
