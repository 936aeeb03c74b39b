#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/device_output.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/json_writer.h"
#include "uvc-stereo/terminal_text.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo::cli {
namespace {

CommandSyntax info_syntax() {
  CommandSyntax syntax = camera_command_syntax(
      "info", "[options]",
      "Opens one camera and shows its firmware version, where its capabilities come from (its\n"
      "capability report, or the fixed defaults of a camera without one), its flash user space, IMU\n"
      "transport and conversion factors, and which transports it proves: the flash, and a valid JSON\n"
      "record in it.");
  syntax.options.push_back({"json", "", "print the information as JSON"});
  return syntax;
}

// The bridge chip's firmware version, or why it could not be read: a camera that answers
// everything else still has its other facts shown.
using FirmwareVersion = Result<std::string>;

// What opening the camera with each transport requirement showed.
struct TransportProof {
  std::uint32_t flags = 0;
  bool flash_declared = false;
  std::optional<Status> flash_failure;       ///< why the flash could not be proven
  std::optional<Status> flash_json_failure;  ///< why no valid JSON record could be read
};

bool declares_flash(const DeviceCapabilityInfo& capability) {
  if (capability.source == CapabilitySource::Fallback) {
    return true;
  }
  return capability.report && (capability.report->capability_bits & kCapabilityFlashUserSpace) != 0;
}

// Opens the camera again asking for more each time: the flash and its JSON record, then
// the flash alone, so the report says exactly how far the camera gets.
TransportProof prove_transports(const DeviceInfo& info, const DeviceCapabilityInfo& capability) {
  TransportProof proof;
  proof.flash_declared = declares_flash(capability);
  if (!proof.flash_declared) {
    return proof;
  }
  OpenDeviceOptions options;
  options.required_capabilities = kTransportFlash | kTransportFlashJson;
  Result<Device> with_json = open_device(info, options);
  if (with_json.ok()) {
    proof.flags = with_json.value().transport_flags();
    return proof;
  }
  proof.flash_json_failure = with_json.status();
  options.required_capabilities = kTransportFlash;
  Result<Device> with_flash = open_device(info, options);
  if (with_flash.ok()) {
    proof.flags = with_flash.value().transport_flags();
  } else {
    proof.flash_failure = with_flash.status();
  }
  return proof;
}

std::string source_name(CapabilitySource source) {
  switch (source) {
    case CapabilitySource::Reported:
      return "reported";
    case CapabilitySource::Fallback:
      return "fallback";
    case CapabilitySource::None:
      break;
  }
  return "none";
}

std::string capability_bits_text(std::uint64_t bits) {
  std::string names;
  if ((bits & kCapabilityFlashUserSpace) != 0) {
    names += "flash user space";
  }
  if ((bits & kCapabilityImu) != 0) {
    names += names.empty() ? "IMU" : ", IMU";
  }
  return hex_text(bits, 2) + (names.empty() ? "" : " (" + names + ")");
}

std::string transport_flags_text(std::uint32_t flags) {
  std::string names;
  const auto add = [&](const char* name) { names += names.empty() ? name : std::string(", ") + name; };
  if ((flags & kTransportFlash) != 0) {
    add("flash");
  }
  if ((flags & kTransportImu) != 0) {
    add("IMU");
  }
  if ((flags & kTransportFlashJson) != 0) {
    add("flash JSON");
  }
  return hex_text(flags, 2) + (names.empty() ? " (none proven)" : " (" + names + ")");
}

std::string proof_text(bool declared, const std::optional<Status>& failure) {
  if (!declared) {
    return "not declared by the capability report";
  }
  return failure ? "not proven: " + failure_text(*failure) : "proven";
}

void print_text(const SelectedCamera& camera, const Device& device, const FirmwareVersion& firmware,
                const ImuConversionOptions& conversion, const TransportProof& proof, Console& console) {
  const DeviceInfo& info = camera.info;
  const DeviceCapabilityInfo& capability = device.capability_info();
  const FlashConfig& flash = device.flash_config();
  const detail::ImuTransportConfig imu = device.imu_transport();
  // One label width for every section, so the values line up down the whole page.
  const auto row = [&console](const std::string& label, const std::string& value) {
    constexpr std::size_t kLabelWidth = 18;
    console.out << "  " << label << std::string(kLabelWidth - std::min(kLabelWidth - 1, label.size()), ' ')
                << terminal_safe(value) << "\n";
  };

  console.out << "Camera " << camera.index << " of " << camera.count << "\n";
  row("vid:pid", vid_pid_text(info.vendor_id, info.product_id));
  row("serial number", or_dash(info.serial_number));
  row("name", or_dash(info.friendly_name));
  row("descriptor", or_dash(info.descriptor_text));
  row("device path", or_dash(info.device_path));
  row("firmware", firmware.ok() ? firmware.value() : "not read: " + failure_text(firmware.status()));
  row("capture", capture_backends_text(info));

  console.out << "Capability\n";
  if (capability.source == CapabilitySource::Reported) {
    row("source", "reported (the camera's capability report)");
  } else {
    row("source", source_name(capability.source) + " (" + or_dash(capability.message) + ")");
  }
  if (capability.report) {
    const CapabilityReport& r = *capability.report;
    row("report version", std::to_string(r.major_version) + "." + std::to_string(r.minor_version));
    row("capability bits", capability_bits_text(r.capability_bits));
    if (r.flash_user_space) {
      row("report flash",
          hex_text(r.flash_user_space->start, 8) + ", " + std::to_string(r.flash_user_space->size) + " bytes");
    }
    if (r.imu) {
      row("report IMU", or_dash(r.imu->model) + ": unit " + std::to_string(r.imu->xu_unit) + ", selector " +
                            std::to_string(r.imu->xu_selector) + ", " + std::to_string(r.imu->xu_length) +
                            " bytes, exponent " + std::to_string(r.imu->decimal_exponent));
    }
  }

  console.out << "Flash user space\n";
  row("address", hex_text(flash.user_space_address, 8));
  row("size", std::to_string(flash.user_space_size) + " bytes (" + hex_text(flash.user_space_size, 1) + ")");
  row("erase sector", std::to_string(flash.erase_sector_size) + " bytes");
  row("selected by", "vidpid " + or_dash(flash.vidpid) + ", serial " + or_dash(flash.serial_number));

  console.out << "IMU\n";
  row("transport", "unit " + std::to_string(imu.xu_unit) + ", selector " + std::to_string(imu.xu_selector) + ", " +
                       std::to_string(imu.xu_length) + " bytes per read");
  row("temperature", format_decimal(conversion.temperature_lsb_per_c, 10) + " counts per deg C, " +
                         format_decimal(conversion.temperature_offset_c, 10) + " deg C at 0");
  row("accelerometer", format_decimal(conversion.accel_lsb_per_g, 10) + " counts per g");
  row("gyroscope", format_decimal(conversion.gyro_lsb_per_dps, 10) + " counts per deg/s");

  console.out << "Transports\n";
  row("flags", transport_flags_text(proof.flags));
  row("flash", proof_text(proof.flash_declared, proof.flash_failure));
  row("flash JSON",
      proof_text(proof.flash_declared, proof.flash_failure ? proof.flash_failure : proof.flash_json_failure));
}

void write_failure(JsonWriter& json, const char* name, const std::optional<Status>& failure) {
  json.key(name);
  if (!failure) {
    json.null();
    return;
  }
  json.begin_object();
  json.key("error").string(error_code_name(failure->code()));
  json.key("message").string(failure->message());
  json.end_object();
}

void print_json(const SelectedCamera& camera, const Device& device, const FirmwareVersion& firmware,
                const ImuConversionOptions& conversion, const TransportProof& proof, Console& console) {
  const DeviceCapabilityInfo& capability = device.capability_info();
  const FlashConfig& flash = device.flash_config();
  const detail::ImuTransportConfig imu = device.imu_transport();

  JsonWriter json;
  json.begin_object();
  json.key("camera").begin_object();
  write_device_fields(json, camera.info, camera.index);
  json.key("firmware_version");
  if (firmware.ok()) {
    json.string(firmware.value());
  } else {
    json.null();
  }
  write_failure(json, "firmware_failure", firmware.ok() ? std::nullopt : std::optional<Status>(firmware.status()));
  json.end_object();

  json.key("capability").begin_object();
  json.key("source").string(source_name(capability.source));
  json.key("message").string(capability.message);
  json.key("report");
  if (capability.report) {
    const CapabilityReport& r = *capability.report;
    json.begin_object();
    json.key("major_version").number(static_cast<unsigned>(r.major_version));
    json.key("minor_version").number(static_cast<unsigned>(r.minor_version));
    json.key("capability_bits").number(r.capability_bits);
    json.key("flash_user_space");
    if (r.flash_user_space) {
      json.begin_object().key("start").number(static_cast<std::uint64_t>(r.flash_user_space->start));
      json.key("size").number(static_cast<std::uint64_t>(r.flash_user_space->size)).end_object();
    } else {
      json.null();
    }
    json.key("imu");
    if (r.imu) {
      json.begin_object();
      json.key("model").string(r.imu->model);
      json.key("xu_unit").number(static_cast<unsigned>(r.imu->xu_unit));
      json.key("xu_selector").number(static_cast<unsigned>(r.imu->xu_selector));
      json.key("xu_length").number(static_cast<unsigned>(r.imu->xu_length));
      json.key("decimal_exponent").number(static_cast<unsigned>(r.imu->decimal_exponent));
      json.key("temperature_offset_c").number(r.imu->temperature_offset_c);
      json.key("temperature_lsb_per_c").number(r.imu->temperature_lsb_per_c);
      json.key("accel_lsb_per_g").number(r.imu->accel_lsb_per_g);
      json.key("gyro_lsb_per_dps").number(r.imu->gyro_lsb_per_dps);
      json.end_object();
    } else {
      json.null();
    }
    json.end_object();
  } else {
    json.null();
  }
  json.end_object();

  json.key("flash").begin_object();
  json.key("user_space_address").number(static_cast<std::uint64_t>(flash.user_space_address));
  json.key("user_space_size").number(static_cast<std::uint64_t>(flash.user_space_size));
  json.key("erase_sector_size").number(static_cast<std::uint64_t>(flash.erase_sector_size));
  json.key("vidpid").string(flash.vidpid);
  json.end_object();

  json.key("imu").begin_object();
  json.key("xu_unit").number(static_cast<unsigned>(imu.xu_unit));
  json.key("xu_selector").number(static_cast<unsigned>(imu.xu_selector));
  json.key("xu_length").number(static_cast<unsigned>(imu.xu_length));
  json.key("temperature_offset_c").number(conversion.temperature_offset_c);
  json.key("temperature_lsb_per_c").number(conversion.temperature_lsb_per_c);
  json.key("accel_lsb_per_g").number(conversion.accel_lsb_per_g);
  json.key("gyro_lsb_per_dps").number(conversion.gyro_lsb_per_dps);
  json.end_object();

  json.key("transports").begin_object();
  json.key("flags").number(static_cast<std::uint64_t>(proof.flags));
  json.key("flash").boolean((proof.flags & kTransportFlash) != 0);
  json.key("flash_json").boolean((proof.flags & kTransportFlashJson) != 0);
  json.key("flash_declared").boolean(proof.flash_declared);
  write_failure(json, "flash_failure", proof.flash_failure);
  write_failure(json, "flash_json_failure", proof.flash_json_failure);
  json.end_object();
  json.end_object();
  console.out << json.pretty_text() << "\n";
}

int info_body(const ParsedArguments& arguments, Console& console) {
  OpenedSelection opened = open_selected_camera("info", arguments, console);
  if (!opened.device) {
    return opened.exit_status;
  }
  const SelectedCamera& camera = *opened.camera;
  const Device& device = *opened.device;
  Result<ImuConversionOptions> conversion = device.imu_conversion_options();
  if (!conversion.ok()) {
    return report_sdk_error(conversion.status(), "reading the IMU conversion factors", console);
  }
  const FirmwareVersion firmware = read_firmware_version(device.flash_config());
  const TransportProof proof = prove_transports(camera.info, device.capability_info());
  if (arguments.has("json")) {
    print_json(camera, device, firmware, conversion.value(), proof, console);
  } else {
    print_text(camera, device, firmware, conversion.value(), proof, console);
  }
  return kExitOk;
}

}  // namespace

int run_info(const std::vector<std::string>& args, Console& console) {
  return run_command(info_syntax(), args, console, info_body);
}

}  // namespace tovanel::uvc_stereo::cli
