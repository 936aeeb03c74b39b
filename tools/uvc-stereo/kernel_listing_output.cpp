#include "uvc-stereo/kernel_listing_output.h"

#include <cstdio>
#include <string>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/device_output.h"
#include "uvc-stereo/terminal_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// "0660", as chmod and ls's users write a mode.
std::string octal_mode(std::uint32_t mode) {
  char text[8];
  std::snprintf(text, sizeof(text), "%04o", static_cast<unsigned>(mode & 07777u));
  return text;
}

std::string ownership_text(const KernelVideoNode& node) {
  if (node.owner.empty() && node.group.empty() && node.mode == 0) {
    return "-";
  }
  return terminal_safe(or_dash(node.owner)) + ":" + terminal_safe(or_dash(node.group)) + " " + octal_mode(node.mode);
}

}  // namespace

void write_kernel_listing_text(const KernelVideoListing& listing, std::ostream& out) {
  out << "kernel\n";
  if (!listing.available) {
    out << "  not listed       " << terminal_safe(listing.note) << "\n";
    return;
  }
  if (listing.udev_rules.empty()) {
    out << "  udev rule        not installed (" << kUdevRuleFileName
        << " is in none of /etc/udev/rules.d, /lib/udev/rules.d, /usr/lib/udev/rules.d)\n";
  }
  for (const std::string& rule : listing.udev_rules) {
    out << "  udev rule        " << terminal_safe(rule) << "\n";
  }
  if (listing.devices.empty()) {
    out << "  usb video        none (no USB camera is plugged in, or the uvcvideo driver is not loaded)\n";
    return;
  }
  for (const KernelVideoDevice& device : listing.devices) {
    out << "  usb video        " << vid_pid_text(device.vendor_id, device.product_id) << " on "
        << terminal_safe(device.bus_name) << ", " << (device.supported ? "supported" : "not supported") << " ("
        << terminal_safe(device.device_path) << ")\n";
    for (const KernelVideoNode& node : device.nodes) {
      out << "    " << terminal_safe(node.path) << "  " << ownership_text(node) << "  "
          << (node.may_open ? std::string("opens") : "cannot open: " + terminal_safe(node.reason)) << "\n";
    }
  }
}

void write_kernel_listing_json(JsonWriter& json, const KernelVideoListing& listing) {
  json.key("available").boolean(listing.available);
  json.key("note");
  if (listing.note.empty()) {
    json.null();
  } else {
    json.string(listing.note);
  }
  json.key("udev_rules").begin_array();
  for (const std::string& rule : listing.udev_rules) {
    json.string(rule);
  }
  json.end_array();
  json.key("devices").begin_array();
  for (const KernelVideoDevice& device : listing.devices) {
    json.begin_object();
    json.key("bus_name").string(device.bus_name);
    json.key("device_path").string(device.device_path);
    json.key("vendor_id").number(static_cast<unsigned>(device.vendor_id));
    json.key("product_id").number(static_cast<unsigned>(device.product_id));
    json.key("vid_pid").string(vid_pid_text(device.vendor_id, device.product_id));
    json.key("supported").boolean(device.supported);
    json.key("nodes").begin_array();
    for (const KernelVideoNode& node : device.nodes) {
      json.begin_object();
      json.key("path").string(node.path);
      json.key("owner").string(node.owner);
      json.key("group").string(node.group);
      json.key("mode").string(octal_mode(node.mode));
      json.key("may_open").boolean(node.may_open);
      json.key("system_error").number(node.system_error);
      json.key("reason").string(node.reason);
      json.end_object();
    }
    json.end_array();
    json.end_object();
  }
  json.end_array();
}

void write_access_problems_json(JsonWriter& json, const std::vector<CameraAccessProblem>& problems) {
  json.begin_array();
  for (const CameraAccessProblem& problem : problems) {
    json.begin_object();
    json.key("device_path").string(problem.device_path);
    json.key("node").string(problem.node);
    json.key("system_error").number(problem.system_error);
    json.key("reason").string(problem.reason);
    json.key("fix").string(problem.fix);
    json.end_object();
  }
  json.end_array();
}

}  // namespace tovanel::uvc_stereo::cli
