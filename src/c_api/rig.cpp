// The simulated rig family of the C interface: the rig, its cameras and their faults.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
#include "c_api/rig_camera.h"
#include "c_api/rig_change.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

namespace {

// A rig, and a camera it has.
Status camera_arguments(const uvc_stereo_rig_t* rig, std::int32_t camera, const char* function) {
  Status checked = c_api::require(rig, function, "rig");
  if (!checked.ok()) {
    return checked;
  }
  const std::size_t count = rig->rig.camera_count();
  if (camera < 0 || static_cast<std::size_t>(camera) >= count) {
    return Status(ErrorCode::InvalidArgument, std::string(function) + ": the rig has no camera " +
                                                  std::to_string(camera) + " (it has " + std::to_string(count) + ")");
  }
  return Status();
}

// Runs `body` once the rig, its camera and then the other arguments (`checks`) pass.
template <typename Rig, typename Checks, typename Body>
uvc_stereo_error_t on_camera(Rig* rig, std::int32_t camera, const char* function, Checks&& checks, Body&& body) {
  return c_api::checked_call(
      function, [&] { return c_api::first_failure(camera_arguments(rig, camera, function), checks()); }, body);
}

// Runs `change` on a camera of the rig once the arguments are checked.
template <typename Change>
uvc_stereo_error_t on_camera(uvc_stereo_rig_t* rig, std::int32_t camera, const char* function, Change&& change) {
  return on_camera(
      rig, camera, function, [] { return c_api::no_other_arguments(); }, [&] { change(rig->rig); });
}

}  // namespace

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_camera_defaults(uvc_stereo_rig_camera_t* camera) {
  return c_api::write_struct("uvc_stereo_rig_camera_defaults", camera, "camera", "uvc_stereo_rig_camera_t",
                             [](auto& out) { c_api::write_defaults(out); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_create(uvc_stereo_rig_t** rig) {
  constexpr const char* kFunction = "uvc_stereo_rig_create";
  return c_api::checked_call(
      kFunction, [&] { return c_api::require(rig, kFunction, "rig"); },
      [&] { *rig = std::make_unique<uvc_stereo_rig_t>().release(); });
}

void UVC_STEREO_CALL uvc_stereo_rig_destroy(uvc_stereo_rig_t* rig) { delete rig; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_add_camera(uvc_stereo_rig_t* rig,
                                                             const uvc_stereo_rig_camera_t* camera,
                                                             std::int32_t* index) {
  constexpr const char* kFunction = "uvc_stereo_rig_add_camera";
  return c_api::checked_call(
      kFunction,
      [&] {
        const Status checked =
            c_api::first_failure(c_api::require(rig, kFunction, "rig"),
                                 c_api::require_struct(camera, kFunction, "camera", "uvc_stereo_rig_camera_t"));
        return checked.ok() ? c_api::check_node_access(*camera, kFunction) : checked;
      },
      [&] {
        const int added = rig->rig.add_camera(c_api::from_c(*camera));
        if (index != nullptr) {
          *index = added;
        }
        return Status();
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_camera_count(const uvc_stereo_rig_t* rig, std::size_t* count) {
  return c_api::count_into("uvc_stereo_rig_camera_count", rig, "rig", count,
                           [](const uvc_stereo_rig_t& held) { return held.rig.camera_count(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_unplug(uvc_stereo_rig_t* rig, std::int32_t camera) {
  return on_camera(rig, camera, "uvc_stereo_rig_unplug", [&](sim::SimulatedRig& held) { held.unplug(camera); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_plug(uvc_stereo_rig_t* rig, std::int32_t camera) {
  return on_camera(rig, camera, "uvc_stereo_rig_plug", [&](sim::SimulatedRig& held) { held.plug(camera); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_library_present(uvc_stereo_rig_t* rig, bool present) {
  return c_api::on_rig(rig, "uvc_stereo_rig_set_library_present",
                       [&](sim::SimulatedRig& held) { held.set_library_present(present); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_init_fails_without_cameras(uvc_stereo_rig_t* rig, bool fails) {
  return c_api::on_rig(rig, "uvc_stereo_rig_set_init_fails_without_cameras",
                       [&](sim::SimulatedRig& held) { held.set_init_fails_without_cameras(fails); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_flash(const uvc_stereo_rig_t* rig, std::int32_t camera,
                                                        std::uint32_t address, std::uint32_t length,
                                                        std::uint8_t* buffer, std::size_t buffer_size,
                                                        std::size_t* copied) {
  constexpr const char* kFunction = "uvc_stereo_rig_flash";
  return c_api::checked_call(
      kFunction,
      [&] {
        Status checked = c_api::first_failure(camera_arguments(rig, camera, kFunction),
                                              c_api::require_items(buffer, length, kFunction, "buffer"));
        if (checked.ok() && buffer_size < length) {
          checked = Status(ErrorCode::InvalidArgument, std::string(kFunction) + ": the buffer holds " +
                                                           std::to_string(buffer_size) + " bytes, the range is " +
                                                           std::to_string(length));
        }
        return checked;
      },
      [&] {
        const std::vector<std::uint8_t> bytes = rig->rig.flash(camera, address, length);
        std::copy(bytes.begin(), bytes.end(), buffer);
        if (copied != nullptr) {
          *copied = bytes.size();
        }
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_flash(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                            std::uint32_t address, const std::uint8_t* bytes,
                                                            std::size_t length) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_flash";
  return on_camera(
      rig, camera, kFunction, [&] { return c_api::require_items(bytes, length, kFunction, "bytes"); },
      [&] {
        rig->rig.set_flash(
            camera, address,
            length == 0 ? std::vector<std::uint8_t>() : std::vector<std::uint8_t>(bytes, bytes + length));
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_write_protected(const uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                  bool* is_protected) {
  constexpr const char* kFunction = "uvc_stereo_rig_write_protected";
  return on_camera(
      rig, camera, kFunction, [&] { return c_api::require(is_protected, kFunction, "is_protected"); },
      [&] { *is_protected = rig->rig.write_protected(camera); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_cut_power_during_write(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                         std::uint32_t bytes) {
  return on_camera(rig, camera, "uvc_stereo_rig_cut_power_during_write",
                   [&](sim::SimulatedRig& held) { held.cut_power_during_write(camera, bytes); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_cut_power_during_erase(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                         std::uint32_t bytes) {
  return on_camera(rig, camera, "uvc_stereo_rig_cut_power_during_erase",
                   [&](sim::SimulatedRig& held) { held.cut_power_during_erase(camera, bytes); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_stuck_zero_bits(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                      std::uint32_t address, std::uint8_t mask) {
  return on_camera(rig, camera, "uvc_stereo_rig_set_stuck_zero_bits",
                   [&](sim::SimulatedRig& held) { held.set_stuck_zero_bits(camera, address, mask); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capability_report(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                        const uvc_stereo_capability_report_t* report) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_capability_report";
  return on_camera(
      rig, camera, kFunction,
      [&] { return c_api::require_struct(report, kFunction, "report", "uvc_stereo_capability_report_t"); },
      [&] { rig->rig.set_capability_report(camera, c_api::from_c(*report)); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capability_bytes(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                       const std::uint8_t report[64]) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_capability_bytes";
  return on_camera(
      rig, camera, kFunction, [&] { return c_api::require(report, kFunction, "report"); },
      [&] {
        std::array<std::uint8_t, 64> bytes{};
        std::copy(report, report + bytes.size(), bytes.begin());
        rig->rig.set_capability_report(camera, bytes);
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_firmware_version(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                       const char* version) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_firmware_version";
  return on_camera(
      rig, camera, kFunction, [&] { return c_api::require(version, kFunction, "version"); },
      [&] { rig->rig.set_firmware_version(camera, version); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_node_access(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                  std::int32_t access) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_node_access";
  return on_camera(
      rig, camera, kFunction, [&] { return c_api::check_node_access(access, kFunction, "access"); },
      [&] { rig->rig.set_node_access(camera, static_cast<sim::SimulatedNodeAccess>(access)); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_queue_imu_status(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                   std::uint8_t status_byte) {
  return on_camera(rig, camera, "uvc_stereo_rig_queue_imu_status",
                   [&](sim::SimulatedRig& held) { held.queue_imu_status(camera, status_byte); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_next_imu_counter(const uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                   std::uint32_t* counter) {
  constexpr const char* kFunction = "uvc_stereo_rig_next_imu_counter";
  return on_camera(
      rig, camera, kFunction, [&] { return c_api::require(counter, kFunction, "counter"); },
      [&] { *counter = rig->rig.next_imu_counter(camera); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capture_devices(uvc_stereo_rig_t* rig, std::int32_t backend,
                                                                      const uvc_stereo_rig_capture_device_t* devices,
                                                                      std::size_t count) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_capture_devices";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::require(rig, kFunction, "rig");
    if (checked.ok() && count != 0) {
      checked = c_api::require(devices, kFunction, "devices");
    }
    std::vector<sim::SimulatedCaptureDevice> listing;
    for (std::size_t i = 0; checked.ok() && i < count; ++i) {
      checked = c_api::require_struct(devices + i, kFunction, "devices[i]", "uvc_stereo_rig_capture_device_t");
      if (checked.ok()) {
        listing.push_back(sim::SimulatedCaptureDevice{c_api::or_empty(devices[i].friendly_name),
                                                      c_api::or_empty(devices[i].device_path)});
      }
    }
    if (checked.ok()) {
      rig->rig.set_capture_devices(static_cast<OpenCvBackend>(backend), listing);
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capture_listing_fails(uvc_stereo_rig_t* rig, std::int32_t backend,
                                                                            bool fails) {
  return c_api::on_rig(rig, "uvc_stereo_rig_set_capture_listing_fails", [&](sim::SimulatedRig& held) {
    held.set_capture_listing_fails(static_cast<OpenCvBackend>(backend), fails);
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_add_fault(uvc_stereo_rig_t* rig, const char* call, std::uint32_t nth,
                                                            std::uint32_t times, std::int32_t vendor_code,
                                                            bool error_code_query_fails) {
  constexpr const char* kFunction = "uvc_stereo_rig_add_fault";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::require(rig, kFunction, "rig"), c_api::require(call, kFunction, "call"));
      },
      [&] {
        sim::VendorFault fault;
        fault.call = call;
        fault.nth = nth;
        fault.times = times;
        fault.vendor_code = vendor_code;
        fault.error_code_query_fails = error_code_query_fails;
        rig->rig.add_fault(fault);
      });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_faults(uvc_stereo_rig_t* rig) {
  return c_api::on_rig(rig, "uvc_stereo_rig_clear_faults", [](sim::SimulatedRig& held) { held.clear_faults(); });
}

}  // extern "C"

namespace {

sim::SimulatedImuTiming from_c(const uvc_stereo_rig_imu_timing_t& timing) noexcept {
  sim::SimulatedImuTiming out;
  out.rate_hz = timing.rate_hz;
  out.clock_error_ppm = timing.clock_error_ppm;
  out.latency_min_ns = timing.latency_min_ns;
  out.latency_max_ns = timing.latency_max_ns;
  out.stall_probability = timing.stall_probability;
  out.stall_min_ns = timing.stall_min_ns;
  out.stall_max_ns = timing.stall_max_ns;
  out.seed = timing.seed;
  return out;
}

}  // namespace

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_imu_timing_defaults(uvc_stereo_rig_imu_timing_t* timing) {
  return c_api::write_struct("uvc_stereo_rig_imu_timing_defaults", timing, "timing", "uvc_stereo_rig_imu_timing_t",
                             [](auto& out) {
                               const sim::SimulatedImuTiming defaults;
                               out.rate_hz = defaults.rate_hz;
                               out.clock_error_ppm = defaults.clock_error_ppm;
                               out.latency_min_ns = defaults.latency_min_ns;
                               out.latency_max_ns = defaults.latency_max_ns;
                               out.stall_probability = defaults.stall_probability;
                               out.stall_min_ns = defaults.stall_min_ns;
                               out.stall_max_ns = defaults.stall_max_ns;
                               out.seed = defaults.seed;
                             });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_imu_timing(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                 const uvc_stereo_rig_imu_timing_t* timing) {
  constexpr const char* kFunction = "uvc_stereo_rig_set_imu_timing";
  return on_camera(
      rig, camera, kFunction,
      [&] { return c_api::require_struct(timing, kFunction, "timing", "uvc_stereo_rig_imu_timing_t"); },
      [&] { rig->rig.set_imu_timing(camera, from_c(*timing)); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_restart_imu(uvc_stereo_rig_t* rig, std::int32_t camera) {
  return on_camera(rig, camera, "uvc_stereo_rig_restart_imu",
                   [&](sim::SimulatedRig& held) { held.restart_imu(camera); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_use_virtual_time(uvc_stereo_rig_t* rig, std::uint64_t start_ns) {
  return c_api::on_rig(rig, "uvc_stereo_rig_use_virtual_time",
                       [&](sim::SimulatedRig& held) { held.use_virtual_time(start_ns); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_now_ns(const uvc_stereo_rig_t* rig, std::uint64_t* now_ns) {
  constexpr const char* kFunction = "uvc_stereo_rig_now_ns";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::require(rig, kFunction, "rig"), c_api::require(now_ns, kFunction, "now_ns"));
      },
      [&] { *now_ns = rig->rig.now_ns(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_advance_time(uvc_stereo_rig_t* rig, std::uint64_t ns) {
  return c_api::on_rig(rig, "uvc_stereo_rig_advance_time", [&](sim::SimulatedRig& held) { held.advance_time(ns); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_take_imu_truth(uvc_stereo_rig_t* rig, std::int32_t camera,
                                                                 uvc_stereo_rig_imu_truth_t* truth,
                                                                 std::size_t capacity, std::size_t* count) {
  constexpr const char* kFunction = "uvc_stereo_rig_take_imu_truth";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(camera_arguments(rig, camera, kFunction), c_api::require(count, kFunction, "count"));
    if (checked.ok() && capacity != 0) {
      checked = c_api::require(truth, kFunction, "truth");
    }
    if (!checked.ok()) {
      return checked;
    }
    *count = 0;
    auto& pending = rig->imu_truth[camera];
    for (const sim::SimulatedImuSampleTruth& sample : rig->rig.take_imu_truth(camera)) {
      pending.push_back(sample);
    }
    while (*count < capacity && !pending.empty()) {
      checked = c_api::require_struct(truth + *count, kFunction, "truth[i]", "uvc_stereo_rig_imu_truth_t");
      if (!checked.ok()) {
        return checked;
      }
      const sim::SimulatedImuSampleTruth& sample = pending.front();
      uvc_stereo_rig_imu_truth_t& out = truth[*count];
      out.counter = sample.counter;
      out.segment = sample.segment;
      out.sample_number = sample.sample_number;
      out.taken_ns = sample.taken_ns;
      pending.pop_front();
      ++*count;
    }
    return Status();
  });
}

}  // extern "C"
