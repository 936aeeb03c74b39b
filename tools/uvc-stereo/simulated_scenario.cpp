#include "uvc-stereo/simulated_scenario.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "uvc_stereo/capability.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/models.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// Windows names a camera's video interface with the KSCATEGORY_VIDEO_CAMERA class GUID.
constexpr const char* kVideoCameraClass = "{e5323777-f976-4f5b-9b55-b94699c46e44}";

// Camera 0's model has no firmware rule for its IMU, camera 1's model does (a firmware
// check and a settling pause before its IMU opens), as in the field.
constexpr std::size_t kReportingModelRow = 2;
constexpr std::size_t kLegacyModelRow = 0;

constexpr std::uint32_t kReportedUserSpaceAddress = 0x60000;
constexpr std::uint32_t kReportedUserSpaceSize = 0x8000;
// A camera without a report is given one 4096-byte sector at the default address.
constexpr std::uint32_t kFallbackUserSpaceAddress = 0x51000;
constexpr std::uint32_t kFallbackUserSpaceSize = 4096;

// Camera 1's counter is 100 samples short of its wrap, so a short stream already shows it.
constexpr std::uint32_t kLegacyFirstCounter = (1u << 20) - 100;

std::string device_path(const CameraModelId& model, const char* instance) {
  char path[160];
  std::snprintf(path, sizeof(path), "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#%s#%s\\global",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id), instance,
                kVideoCameraClass);
  return path;
}

// A camera of `model` as the scenario plugs it in: named by its product string, with the
// serial number, firmware and IMU given.
sim::SimulatedCamera scenario_camera(const CameraModelId& model, const char* instance, const char* name,
                                     const ScenarioCamera& scenario, const char* firmware,
                                     const sim::SimulatedImu& imu) {
  sim::SimulatedCamera camera;
  camera.vendor_id = model.vendor_id;
  camera.product_id = model.product_id;
  camera.device_path = device_path(model, instance);
  camera.device_name = name;
  camera.product_string = name;
  camera.descriptor_3 = "Tovanel Imaging";
  camera.serial_number = scenario.serial_number;
  camera.firmware_version = firmware;
  camera.imu = imu;
  return camera;
}

Status store_record(sim::SimulatedRig& rig, int camera, const ScenarioCamera& scenario) {
  FlashConfig config;
  config.user_space_address = scenario.user_space_address;
  config.user_space_size = scenario.user_space_size;
  Result<std::string> minified = minify_and_validate_json(scenario.stored_json);
  if (!minified.ok()) {
    return minified.status();
  }
  const std::string& text = minified.value();
  Result<FlashBlob> blob = build_blob(0, std::vector<std::uint8_t>(text.begin(), text.end()), config);
  if (!blob.ok()) {
    return blob.status();
  }
  rig.set_flash(camera, scenario.user_space_address, blob.value().raw);
  return Status();
}

}  // namespace

CapabilityReport scenario_capability_report() {
  CapabilityReport report;
  report.major_version = 1;
  report.minor_version = 2;
  report.capability_bits = kCapabilityFlashUserSpace | kCapabilityImu;
  report.flash_user_space = FlashUserSpace{kReportedUserSpaceAddress, kReportedUserSpaceSize};
  ReportedImuInfo imu;
  imu.model = "BMI088";
  imu.xu_unit = 4;
  imu.xu_selector = 10;
  imu.xu_length = 17;
  imu.decimal_exponent = 2;  // the temperature and gyroscope scales are given in hundredths
  imu.temperature_offset_c = 25.0;
  imu.temperature_lsb_per_c = 128.0;
  imu.accel_lsb_per_g = 2048.0;
  imu.gyro_lsb_per_dps = 16.4;
  report.imu = imu;
  return report;
}

std::array<ScenarioCamera, kScenarioCameraCount> scenario_cameras() {
  ScenarioCamera reporting;
  reporting.serial_number = "TVS2-00417";
  reporting.stored_json =
      "{\"name\":\"rig A left-right\",\"baseline_mm\":60.0,\"rectify\":true,"
      "\"exposure\":{\"mode\":\"auto\",\"max_us\":8000},"
      "\"intrinsics\":{\"fx\":612.4,\"fy\":611.9,\"cx\":319.5,\"cy\":241.2}}";
  reporting.user_space_address = kReportedUserSpaceAddress;
  reporting.user_space_size = kReportedUserSpaceSize;

  ScenarioCamera legacy;
  legacy.serial_number = "TVS1-01288";
  legacy.stored_json =
      "{\"name\":\"bench camera B\",\"baseline_mm\":50.0,\"rectify\":false,"
      "\"exposure\":{\"mode\":\"manual\",\"time_us\":4000,\"gain\":2}}";
  legacy.user_space_address = kFallbackUserSpaceAddress;
  legacy.user_space_size = kFallbackUserSpaceSize;
  return {reporting, legacy};
}

Status populate_simulated_scenario(sim::SimulatedRig& rig) {
  const std::vector<CameraModelId> models = supported_camera_models();
  if (models.size() <= kReportingModelRow || models.size() <= kLegacyModelRow) {
    return Status(ErrorCode::InternalError, "the SDK lists too few camera models for the simulated scenario");
  }
  const std::array<ScenarioCamera, kScenarioCameraCount> scenario = scenario_cameras();

  // The IMUs live in time like real ones, so that a stream's rate, clock error and read
  // latencies mean something: 200 Hz on oscillators a few millionths off, and reads that take
  // a fraction of a millisecond on a quiet bus.
  sim::SimulatedImuTiming reporting_timing;
  reporting_timing.rate_hz = 200.0;
  reporting_timing.clock_error_ppm = 3.5;
  reporting_timing.latency_min_ns = 150000;
  reporting_timing.latency_max_ns = 600000;
  reporting_timing.seed = 7;
  sim::SimulatedImuTiming legacy_timing = reporting_timing;
  legacy_timing.clock_error_ppm = -6.0;
  legacy_timing.latency_max_ns = 900000;
  legacy_timing.seed = 11;

  sim::SimulatedCamera reporting =
      scenario_camera(models[kReportingModelRow], "7&1a2b3c4d&0&0000", "Tovanel Stereo Camera S2", scenario[0],
                      "V2.4.1-260311", sim::SimulatedImu{sim::ImuMotion::AtRest, 4096, 1, 34.25, 7, reporting_timing});
  reporting.user_space_address = scenario[0].user_space_address;
  reporting.user_space_size = scenario[0].user_space_size;
  reporting.capability = scenario_capability_report();

  const sim::SimulatedCamera legacy = scenario_camera(
      models[kLegacyModelRow], "7&2f4e6a1b&0&0000", "Tovanel Stereo Camera S1", scenario[1], "V1.3.0-251120",
      sim::SimulatedImu{sim::ImuMotion::Moving, kLegacyFirstCounter, 1, 29.5, 11, legacy_timing});

  // A rig kept in a directory that already holds the scenario keeps its cameras and what their flash holds.
  const bool fresh = rig.camera_count() == 0;
  const int reporting_index = fresh ? rig.add_camera(reporting) : 0;
  const int legacy_index = fresh ? rig.add_camera(legacy) : 1;

  // Media Foundation lists by symbolic link, DirectShow by its moniker's device path; the
  // integrated webcam comes first in one and in the middle of the other.
  const std::string webcam_path =
      "\\\\?\\usb#vid_04f2&pid_b6d9&mi_00#6&12ab34cd&0&0000#" + std::string(kVideoCameraClass) + "\\global";
  rig.set_capture_devices(OpenCvBackend::Msmf, {{"Integrated Webcam", webcam_path},
                                                {"Tovanel Stereo Camera S2", reporting.device_path},
                                                {"Tovanel Stereo Camera S1", legacy.device_path}});
  rig.set_capture_devices(OpenCvBackend::Dshow, {{"Tovanel Stereo Camera S1", "@device:pnp:" + legacy.device_path},
                                                 {"Integrated Webcam", "@device:pnp:" + webcam_path},
                                                 {"Tovanel Stereo Camera S2", "@device:pnp:" + reporting.device_path}});

  if (!fresh) {
    // A kept rig's cameras sample in time as a fresh one's do.
    rig.set_imu_timing(reporting_index, reporting_timing);
    rig.set_imu_timing(legacy_index, legacy_timing);
    return Status();
  }
  if (Status stored = store_record(rig, reporting_index, scenario[0]); !stored.ok()) {
    return stored;
  }
  return store_record(rig, legacy_index, scenario[1]);
}

SimulatedScenario::SimulatedScenario(const std::string& directory) {
  if (directory.empty()) {
    rig_ = std::make_unique<sim::SimulatedRig>();
  } else {
    Result<std::unique_ptr<sim::SimulatedRig>> kept = sim::SimulatedRig::keep_in_directory(directory);
    if (!kept.ok()) {
      status_ = kept.status();
      return;
    }
    rig_ = std::move(kept).value();
  }
  status_ = populate_simulated_scenario(*rig_);
}

}  // namespace tovanel::uvc_stereo::cli
