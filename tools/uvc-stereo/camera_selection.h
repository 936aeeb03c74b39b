#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "uvc-stereo/arguments.h"
#include "uvc-stereo/console.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/records.h"

namespace tovanel::uvc_stereo::cli {

// --vid, --pid and --require-serial: what narrows a scan.
[[nodiscard]] std::vector<OptionSyntax> scan_filter_options();
// The filter options plus --serial, --path and --index: how a command picks one camera.
[[nodiscard]] std::vector<OptionSyntax> camera_selection_options();
[[nodiscard]] std::string camera_selection_help();
// The syntax every command that works on one camera starts from: its words, the camera
// selection options and their help; the command adds its own options and paragraphs.
[[nodiscard]] CommandSyntax camera_command_syntax(std::string name, std::string synopsis, std::string summary);

// The scan filter the options ask for (their values already checked by the command line).
[[nodiscard]] DeviceScanFilter scan_filter_from(const ParsedArguments& arguments);

// One camera chosen from a scan.
struct SelectedCamera {
  DeviceInfo info;
  std::size_t index = 0;       ///< its place in the scan (with the same filters)
  std::size_t count = 0;       ///< how many cameras the scan found
  DeviceScanFilter filter;     ///< the filter of that scan, which gives `index` its meaning
  bool serial_unique = false;  ///< no other attached camera has its serial number, in any letter case
};

// The chosen camera, or the exit status of the failure already reported.
struct Selection {
  std::optional<SelectedCamera> camera;
  int exit_status = 0;
};

// Scans with the filter options and picks the camera that --serial, --path or --index
// names; with none of them, the only camera there is. A serial number or path equal to the
// one given wins; without one, they compare without regard to ASCII letter case, as the SDK
// compares them. Several cameras matching (and none exactly, or several exactly: cheap
// cameras share serial numbers) is a usage error that names them, so that a write never
// lands on a camera the user did not mean.
[[nodiscard]] Selection select_camera(const std::string& command, const ParsedArguments& arguments, Console& console);

// The opened camera, or the exit status of the failure already reported.
struct OpenedCamera {
  std::optional<Device> device;
  int exit_status = 0;
};
[[nodiscard]] OpenedCamera open_camera(const SelectedCamera& camera, std::uint32_t required_capabilities,
                                       Console& console);

// The camera the options select, opened; or the exit status of the failure already reported.
struct OpenedSelection {
  std::optional<SelectedCamera> camera;
  std::optional<Device> device;
  int exit_status = 0;
};
[[nodiscard]] OpenedSelection open_selected_camera(const std::string& command, const ParsedArguments& arguments,
                                                   Console& console);

// "camera 0 (0c45:6368, serial TVS2-00417)".
[[nodiscard]] std::string describe_camera(const SelectedCamera& camera);
// The serial number, or "index<N>" for a camera without one: names backup files.
[[nodiscard]] std::string camera_label(const SelectedCamera& camera);
// `text` as one word for a shell: as it is when it is plain, else in single quotes; control
// characters are written as $'\xNN' pieces, so that the word pastes as it is and shows
// nothing but plain text on a terminal.
[[nodiscard]] std::string quoted_for_shell(const std::string& text);
// The options that select exactly this camera again in a later run, whatever selected it:
// its serial number when no other attached camera shares it ("--serial TVS2-00417"), else
// its device path, else its index with the filters that index counts in.
[[nodiscard]] std::string reselect_options(const SelectedCamera& camera);

// "0c45:6368".
[[nodiscard]] std::string vid_pid_text(std::uint16_t vendor_id, std::uint16_t product_id);
// "0c456368", the form the SDK matches devices by.
[[nodiscard]] std::string vidpid_key(std::uint16_t vendor_id, std::uint16_t product_id);

}  // namespace tovanel::uvc_stereo::cli
