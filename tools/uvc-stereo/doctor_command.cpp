#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/device_output.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/host_platform.h"
#include "uvc-stereo/imu_stream_stats.h"
#include "uvc-stereo/imu_window.h"
#include "uvc-stereo/json_writer.h"
#include "uvc-stereo/kernel_listing_output.h"
#include "uvc-stereo/terminal_text.h"
#include "uvc_stereo/camera_access.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/platform_info.h"
#include "uvc_stereo/version.h"

namespace tovanel::uvc_stereo::cli {
namespace {

constexpr double kDefaultImuSeconds = 2.0;
constexpr double kMaxImuSeconds = 3600.0;

CommandSyntax doctor_syntax() {
  CommandSyntax syntax;
  syntax.name = "doctor";
  syntax.synopsis = "[options]";
  syntax.summary =
      "Writes a field report to attach to a bug report: the versions of the tool, the SDK library and\n"
      "the vendor library, the platform, the cameras found, where each one's capabilities come from,\n"
      "the health of its IMU over a short stream (samples, rate, missed samples, read latency), and\n"
      "its configuration record's checksum where the flash is reachable. On Linux it also lists what\n"
      "the kernel shows: every USB video device, its nodes' owner, group and mode and whether this\n"
      "account may open them, and whether the SDK's udev rule is installed.";
  syntax.options.push_back({"json", "", "write the report as JSON"});
  syntax.options.push_back({"imu-seconds", "S", "how long to stream each camera's IMU (default 2; 0 skips the IMU)",
                            "seconds from 0 to 3600", [](const std::string& value) {
                              return parse_non_negative(value).value_or(kMaxImuSeconds + 1) <= kMaxImuSeconds;
                            }});
  syntax.meets_cameras = true;
  syntax.details = "A camera that fails a check is reported with the reason; the report is still written (status 0).\n";
  return syntax;
}

// What streaming one camera's IMU showed.
struct ImuHealth {
  std::optional<Status> failure;  ///< why the stream could not run or stopped
  ImuStreamStatistics stats;      ///< what the SDK's IMU stream counted
  double seconds = 0.0;           ///< how long the stream ran
};

// The configuration record as the flash holds it.
struct RecordCheck {
  std::optional<Status> failure;  ///< why the record could not be read or is not valid
  std::uint32_t crc32 = 0;
  std::uint32_t payload_length = 0;
  std::uint16_t format_version = 0;
};

struct CameraReport {
  DeviceInfo info;
  std::optional<Status> open_failure;  ///< the camera could not be opened: nothing else is known
  DeviceCapabilityInfo capability;
  std::optional<ImuHealth> imu;  ///< none when the IMU was not streamed
  RecordCheck record;
};

struct FieldReport {
  HostPlatform platform;
  std::string vendor_library;
  KernelVideoListing kernel;
  std::vector<CameraAccessProblem> access_problems;
  std::optional<Status> scan_failure;
  std::vector<CameraReport> cameras;
};

ImuHealth stream_imu(Device& device, double seconds) {
  ImuHealth health;
  Result<ImuStream> stream = ImuStream::open(device);
  if (!stream.ok()) {
    health.failure = stream.status();
    return health;
  }
  // The stream paces its own reads; the report only needs its counts, so the samples land in one small buffer.
  std::array<ImuStreamSample, 64> samples;
  // The window is measured on the clock the samples are stamped with, so a simulated rig in virtual time is
  // examined over as many samples as the window holds.
  ImuStreamWindow window(seconds);
  const auto whole = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
  while (!window.over()) {
    const ImuPull pulled = stream.value().pull(samples.data(), samples.size(), window.next_timeout(whole));
    window.on_pull(samples.data(), pulled.count, samples.size());
    if (!pulled.status.ok()) {
      health.failure = pulled.status;
      break;
    }
  }
  health.seconds = window.elapsed_s();
  const Result<ImuStreamStatistics> stats = stream.value().statistics();
  if (stats.ok()) {
    health.stats = stats.value();
  } else if (!health.failure) {
    health.failure = stats.status();
  }
  const Status closed = device.close_imu();
  if (!closed.ok() && !health.failure) {
    health.failure = closed;
  }
  return health;
}

RecordCheck check_record(const Device& device) {
  RecordCheck check;
  const Result<FlashBlob> blob = read_blob_from_device(device.flash_config());
  if (!blob.ok()) {
    check.failure = blob.status();
    return check;
  }
  check.crc32 = blob.value().crc32;
  check.payload_length = blob.value().payload_length;
  check.format_version = blob.value().format_version;
  return check;
}

CameraReport examine(const DeviceInfo& info, double imu_seconds) {
  CameraReport report;
  report.info = info;
  Result<Device> opened = open_device(info);
  if (!opened.ok()) {
    report.open_failure = opened.status();
    return report;
  }
  Device& device = opened.value();
  report.capability = device.capability_info();
  // The flash first: an open IMU reader refuses flash access until it closes.
  report.record = check_record(device);
  if (imu_seconds > 0.0) {
    report.imu = stream_imu(device, imu_seconds);
  }
  return report;
}

std::string capability_source_text(const DeviceCapabilityInfo& capability) {
  switch (capability.source) {
    case CapabilitySource::Reported:
      return "the camera's capability report " + std::to_string(capability.report->major_version) + "." +
             std::to_string(capability.report->minor_version);
    case CapabilitySource::Fallback:
      return "the fallback defaults (" + capability.message + ")";
    case CapabilitySource::None:
      break;
  }
  return "not determined";
}

void write_text(const FieldReport& report, std::ostream& out) {
  out << "uvc-stereo field report\n"
      << "\n"
      << "versions\n"
      << "  uvc-stereo       " << UVC_STEREO_VERSION_STRING << "\n"
      << "  SDK library      " << library_version() << "\n"
      << "  vendor library   " << terminal_safe(report.vendor_library) << "\n"
      << "\n"
      << "platform\n"
      << "  os               " << terminal_safe(report.platform.os) << " " << terminal_safe(report.platform.release)
      << " (" << terminal_safe(report.platform.architecture) << ")\n"
      << "\n";
  write_kernel_listing_text(report.kernel, out);
  out << "\n";
  if (!report.access_problems.empty()) {
    out << "access\n";
    for (const CameraAccessProblem& problem : report.access_problems) {
      out << "  " << terminal_safe(problem.node) << "  cannot open: " << terminal_safe(problem.reason)
          << "\n    fix: " << terminal_safe(problem.fix) << "\n";
    }
    out << "\n";
  }
  if (report.scan_failure) {
    out << "cameras: the scan failed: " << terminal_safe(failure_text(*report.scan_failure)) << "\n";
    return;
  }
  out << "cameras: " << report.cameras.size() << " found\n";
  for (std::size_t i = 0; i < report.cameras.size(); ++i) {
    const CameraReport& camera = report.cameras[i];
    const DeviceInfo& info = camera.info;
    out << "\n"
        << "camera " << i << "\n"
        << "  vid:pid          " << vid_pid_text(info.vendor_id, info.product_id) << "\n"
        << "  serial           " << terminal_safe(or_dash(info.serial_number)) << "\n"
        << "  name             " << terminal_safe(or_dash(info.friendly_name)) << "\n"
        << "  path             " << terminal_safe(or_dash(info.device_path)) << "\n"
        << "  capture          " << capture_backends_text(info) << "\n";
    if (camera.open_failure) {
      out << "  open             failed: " << terminal_safe(failure_text(*camera.open_failure)) << "\n";
      continue;
    }
    out << "  capabilities     from " << terminal_safe(capability_source_text(camera.capability)) << "\n";
    if (camera.record.failure) {
      out << "  record           not read: " << terminal_safe(failure_text(*camera.record.failure)) << "\n";
    } else {
      out << "  record           crc32 " << hex_text(camera.record.crc32, 8) << ", " << camera.record.payload_length
          << " bytes of JSON, format version " << camera.record.format_version << "\n";
    }
    if (!camera.imu) {
      out << "  imu              not streamed (--imu-seconds 0)\n";
    } else if (camera.imu->failure && camera.imu->stats.samples_delivered == 0) {
      out << "  imu              failed: " << terminal_safe(failure_text(*camera.imu->failure)) << "\n";
    } else {
      out << "  imu              " << imu_live_line(camera.imu->stats) << "\n";
      if (camera.imu->failure) {
        out << "  imu stopped      " << terminal_safe(failure_text(*camera.imu->failure)) << "\n";
      }
    }
  }
}

void write_failure(JsonWriter& json, const Status& status) {
  json.begin_object();
  json.key("code").string(error_code_name(status.code()));
  json.key("message").string(status.message());
  json.end_object();
}

void write_json(const FieldReport& report, std::ostream& out) {
  JsonWriter json;
  json.begin_object();
  json.key("versions").begin_object();
  json.key("tool").string(UVC_STEREO_VERSION_STRING);
  json.key("library").string(library_version());
  json.key("vendor_library").string(report.vendor_library);
  json.end_object();
  json.key("platform").begin_object();
  json.key("os").string(report.platform.os);
  json.key("release").string(report.platform.release);
  json.key("architecture").string(report.platform.architecture);
  json.end_object();
  json.key("kernel").begin_object();
  write_kernel_listing_json(json, report.kernel);
  json.end_object();
  json.key("access_problems");
  write_access_problems_json(json, report.access_problems);
  json.key("scan_failure");
  if (report.scan_failure) {
    write_failure(json, *report.scan_failure);
  } else {
    json.null();
  }
  json.key("cameras").begin_array();
  for (std::size_t i = 0; i < report.cameras.size(); ++i) {
    const CameraReport& camera = report.cameras[i];
    json.begin_object();
    write_device_fields(json, camera.info, i);
    json.key("open_failure");
    if (camera.open_failure) {
      write_failure(json, *camera.open_failure);
      json.end_object();
      continue;
    }
    json.null();
    json.key("capability_source")
        .string(camera.capability.source == CapabilitySource::Reported   ? "report"
                : camera.capability.source == CapabilitySource::Fallback ? "fallback"
                                                                         : "none");
    json.key("capability_source_text").string(capability_source_text(camera.capability));
    json.key("record").begin_object();
    if (camera.record.failure) {
      json.key("failure");
      write_failure(json, *camera.record.failure);
    } else {
      json.key("crc32").string(hex_text(camera.record.crc32, 8));
      json.key("payload_length").number(static_cast<std::uint64_t>(camera.record.payload_length));
      json.key("format_version").number(static_cast<std::uint64_t>(camera.record.format_version));
    }
    json.end_object();
    json.key("imu");
    if (!camera.imu) {
      json.null();
    } else {
      const ImuStreamStatistics& stats = camera.imu->stats;
      json.begin_object();
      json.key("samples").number(stats.samples_delivered);
      json.key("seconds").number(camera.imu->seconds, 6);
      json.key("rate_hz").number(stats.rate_hz, 6);
      json.key("clock_error_ppm").number(stats.clock_error_ppm, 6);
      json.key("missed").number(stats.samples_missed);
      json.key("duplicate_reads").number(stats.duplicate_reads);
      json.key("restarts").number(stats.restarts);
      json.key("min_latency_ms").number(static_cast<double>(stats.read_latency_min_ns) / 1e6, 6);
      json.key("median_latency_ms").number(static_cast<double>(stats.read_latency_median_ns) / 1e6, 6);
      json.key("p99_latency_ms").number(static_cast<double>(stats.read_latency_p99_ns) / 1e6, 6);
      json.key("max_latency_ms").number(static_cast<double>(stats.read_latency_max_ns) / 1e6, 6);
      json.key("failure");
      if (camera.imu->failure) {
        write_failure(json, *camera.imu->failure);
      } else {
        json.null();
      }
      json.end_object();
    }
    json.end_object();
  }
  json.end_array();
  json.end_object();
  out << json.pretty_text() << "\n";
}

int doctor_body(const ParsedArguments& arguments, Console& console) {
  const std::optional<std::string> imu_seconds_text = arguments.value("imu-seconds");
  const double imu_seconds =
      imu_seconds_text ? parse_non_negative(*imu_seconds_text).value_or(0.0) : kDefaultImuSeconds;
  FieldReport report;
  report.platform = host_platform();
  report.vendor_library = vendor_library_version();
  // What the kernel shows is part of the report even when the SDK cannot list it.
  Result<KernelVideoListing> kernel = list_kernel_video_devices();
  if (kernel.ok()) {
    report.kernel = std::move(kernel.value());
  } else {
    report.kernel.note = failure_text(kernel.status());
  }
  Result<std::vector<CameraAccessProblem>> problems = find_camera_access_problems();
  if (problems.ok()) {
    report.access_problems = std::move(problems.value());
  }
  Result<std::vector<DeviceInfo>> scanned = scan_devices();
  if (!scanned.ok()) {
    report.scan_failure = scanned.status();
  } else {
    for (const DeviceInfo& info : scanned.value()) {
      report.cameras.push_back(examine(info, imu_seconds));
    }
  }
  if (arguments.has("json")) {
    write_json(report, console.out);
  } else {
    write_text(report, console.out);
  }
  return kExitOk;
}

}  // namespace

int run_doctor(const std::vector<std::string>& args, Console& console) {
  return run_command(doctor_syntax(), args, console, doctor_body);
}

}  // namespace tovanel::uvc_stereo::cli
