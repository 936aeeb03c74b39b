#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "capability/capability_report_encoder.h"
#include "sim/backend.h"
#include "sim/capture_listing.h"
#include "sim/extension_unit.h"
#include "sim/registry.h"
#include "sim/rig_directory.h"
#include "sim/rig_state.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::sim {
namespace {

using Guard = std::lock_guard<std::mutex>;

// The part of [address, address + length) that lies on the chip.
std::uint32_t on_chip_length(const SimulatedFlash& flash, std::uint32_t address, std::uint64_t length) {
  if (address >= flash.size()) {
    return 0;
  }
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(length, flash.size() - address));
}

// Writes camera `index`'s identity and plugged state to the rig's directory, if it has one.
void persist(const SimulatedRig::State& state, int index) {
  if (state.directory.empty()) {
    return;
  }
  if (const CameraState* target = state.camera(index)) {
    store_camera(state.directory, static_cast<std::size_t>(index), StoredCamera{target->config, target->plugged});
  }
}

}  // namespace

SimulatedRig::SimulatedRig() : state_(std::make_unique<State>()) {
  // The state is reachable before the backend is, so no call ever finds it missing.
  // A rig in memory is seen by this program only, so no other program may meet its cameras' locks.
  state_->lock_place = detail::bridge::make_private_camera_lock_place();
  state_->private_lock_place = true;
  install();
}

void SimulatedRig::install() {
  activate_rig(state_.get());
  detail::bridge::PlatformTable entries;
  entries.vendor_backend = &simulated_vendor_backend();
  entries.capture_listing = &simulated_capture_listing_source();
  entries.camera_locks = &state_->lock_place;
  state_->installed.emplace(entries);
}

SimulatedRig::SimulatedRig(std::unique_ptr<State> state) : state_(std::move(state)) { install(); }

Result<std::unique_ptr<SimulatedRig>> SimulatedRig::keep_in_directory(const std::string& directory) {
  try {
    Result<std::vector<StoredCamera>> stored = load_rig_directory(directory);
    if (!stored.ok()) {
      return stored.status();
    }
    auto state = std::make_unique<State>();
    state->directory = directory;
    state->lock_place = detail::bridge::shared_rig_camera_lock_place(directory);
    for (std::size_t index = 0; index < stored.value().size(); ++index) {
      const StoredCamera& camera = stored.value()[index];
      CameraState& added = state->cameras.emplace_back(camera.camera);
      added.plugged = camera.plugged;
      added.flash.keep_in(std::make_unique<FlashImageFile>(flash_image_path(directory, index)));
    }
    return std::unique_ptr<SimulatedRig>(new SimulatedRig(std::move(state)));
  } catch (const std::exception& error) {
    return Status(ErrorCode::PlatformError, error.what());
  }
}

std::string SimulatedRig::directory() const {
  const Guard guard(state_->mutex);
  return state_->directory;
}

SimulatedRig::~SimulatedRig() {
  // Overrides stack, so an older rig destroyed first leaves the newer one in force.
  state_->virtual_clock.reset();
  state_->installed.reset();
  deactivate_rig(state_.get());
  if (state_->private_lock_place) {
    detail::bridge::remove_private_camera_lock_place(state_->lock_place);
  }
}

int SimulatedRig::add_camera(const SimulatedCamera& camera) {
  const Guard guard(state_->mutex);
  CameraState plugged = plugged_camera_state(camera, state_->clock.now_ns());
  const std::size_t index = state_->cameras.size();
  if (state_->directory.empty()) {
    state_->cameras.push_back(std::move(plugged));
    return static_cast<int>(index);
  }
  // The flash first: the camera exists for other programs only once its text file does.
  const std::string image = flash_image_path(state_->directory, index);
  FlashImageFile::create(image, plugged.config.flash_size);
  store_camera(state_->directory, index, StoredCamera{plugged.config, true});
  CameraState& added = state_->cameras.emplace_back(std::move(plugged));
  added.flash.keep_in(std::make_unique<FlashImageFile>(image));
  return static_cast<int>(index);
}

std::size_t SimulatedRig::camera_count() const {
  const Guard guard(state_->mutex);
  return state_->cameras.size();
}

void SimulatedRig::unplug(int camera) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->plugged = false;
    persist(*state_, camera);
  }
}

void SimulatedRig::plug(int camera) {
  const Guard guard(state_->mutex);
  // Plugging in powers the camera up, so its flash is protected again.
  if (CameraState* target = state_->camera(camera); target != nullptr && !target->plugged) {
    target->plugged = true;
    target->power_cycle();
    if (target->timed_imu) {
      target->timed_imu->power_up(state_->clock.now_ns());
    }
    persist(*state_, camera);
  }
}

void SimulatedRig::set_library_present(bool present) {
  const Guard guard(state_->mutex);
  state_->library_present = present;
}

void SimulatedRig::set_init_fails_without_cameras(bool fails) {
  const Guard guard(state_->mutex);
  state_->init_fails_without_cameras = fails;
}

std::vector<std::uint8_t> SimulatedRig::flash(int camera, std::uint32_t address, std::uint32_t length) const {
  const Guard guard(state_->mutex);
  const CameraState* target = state_->camera(camera);
  if (target == nullptr) {
    return {};
  }
  std::vector<std::uint8_t> bytes(on_chip_length(target->flash, address, length));
  target->flash.read(address, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return bytes;
}

void SimulatedRig::set_flash(int camera, std::uint32_t address, const std::vector<std::uint8_t>& bytes) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->flash.overwrite(address, bytes.data(), on_chip_length(target->flash, address, bytes.size()));
  }
}

bool SimulatedRig::write_protected(int camera) const {
  const Guard guard(state_->mutex);
  const CameraState* target = state_->camera(camera);
  return target == nullptr || target->write_protected();
}

void SimulatedRig::cut_power_during_write(int camera, std::uint32_t bytes) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->write_power_cut = bytes;
  }
}

void SimulatedRig::cut_power_during_erase(int camera, std::uint32_t bytes) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->erase_power_cut = bytes;
  }
}

void SimulatedRig::set_stuck_zero_bits(int camera, std::uint32_t address, std::uint8_t mask) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->flash.add_stuck_zero_bits(address, mask);
  }
}

void SimulatedRig::set_capability_report(int camera, const std::array<std::uint8_t, 64>& report) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->config.capability.reset();
    target->config.capability_report = report;
    persist(*state_, camera);
  }
}

void SimulatedRig::set_capability_report(int camera, const CapabilityReport& report) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->config.capability = report;
    target->config.capability_report = detail::encode_xu_capability_report(report);
    persist(*state_, camera);
  }
}

void SimulatedRig::set_firmware_version(int camera, const std::string& version) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->config.firmware_version = version;
    persist(*state_, camera);
  }
}

void SimulatedRig::set_node_access(int camera, SimulatedNodeAccess access) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->config.node_access = access;
    persist(*state_, camera);
  }
}

void SimulatedRig::queue_imu_status(int camera, std::uint8_t status_byte) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->imu_status.push_back(status_byte);
  }
}

std::uint32_t SimulatedRig::next_imu_counter(int camera) const {
  const Guard guard(state_->mutex);
  const CameraState* target = state_->camera(camera);
  if (target == nullptr) {
    return 0;
  }
  return target->timed_imu ? target->timed_imu->newest_counter(state_->clock.now_ns()) : target->imu.next_counter();
}

void SimulatedRig::set_imu_timing(int camera, const SimulatedImuTiming& timing) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera)) {
    target->config.imu.timing = timing;
    target->timed_imu.emplace(timing, target->config.imu.first_counter);
    target->timed_imu->power_up(state_->clock.now_ns());
  }
}

void SimulatedRig::restart_imu(int camera) {
  const Guard guard(state_->mutex);
  if (CameraState* target = state_->camera(camera); target != nullptr && target->timed_imu) {
    target->timed_imu->restart(state_->clock.now_ns());
  }
}

std::vector<SimulatedImuSampleTruth> SimulatedRig::take_imu_truth(int camera) {
  const Guard guard(state_->mutex);
  CameraState* target = state_->camera(camera);
  if (target == nullptr || !target->timed_imu) {
    return {};
  }
  return target->timed_imu->take_truth();
}

void SimulatedRig::use_virtual_time(std::uint64_t start_ns) {
  {
    const Guard guard(state_->mutex);
    state_->clock.use_virtual(start_ns);
    for (CameraState& camera : state_->cameras) {
      if (camera.timed_imu) {
        camera.timed_imu->power_up(start_ns);
      }
    }
  }
  if (!state_->virtual_clock) {
    // Installed outside the state's mutex: an override waits for the vendor lock, which a call may hold while it
    // waits for the state.
    detail::bridge::PlatformTable entries;
    entries.host_clock = &state_->clock.host_clock();
    entries.pause = &state_->clock.pauses();
    state_->virtual_clock.emplace(entries);
  }
}

bool SimulatedRig::virtual_time() const { return state_->clock.is_virtual(); }

std::uint64_t SimulatedRig::now_ns() const { return state_->clock.now_ns(); }

void SimulatedRig::advance_time(std::uint64_t ns) { state_->clock.advance(ns); }

void SimulatedRig::set_capture_devices(OpenCvBackend backend, const std::vector<SimulatedCaptureDevice>& devices) {
  const Guard guard(state_->mutex);
  state_->capture_devices[backend] = devices;
}

void SimulatedRig::set_capture_listing_fails(OpenCvBackend backend, bool fails) {
  const Guard guard(state_->mutex);
  if (fails) {
    state_->failing_listings.insert(backend);
  } else {
    state_->failing_listings.erase(backend);
  }
}

void SimulatedRig::add_fault(const VendorFault& fault) {
  const Guard guard(state_->mutex);
  state_->faults.add(fault);
}

void SimulatedRig::clear_faults() {
  const Guard guard(state_->mutex);
  state_->faults.clear();
}

void SimulatedRig::on_call(const std::string& call, std::function<void(const VendorCall&)> hook) {
  const Guard guard(state_->mutex);
  state_->call_hooks.push_back({call, std::move(hook)});
}

void SimulatedRig::clear_call_hooks() {
  std::unique_lock<std::mutex> lock(state_->mutex);
  state_->call_hooks.clear();
  ++state_->hook_clears;
  // Waits for the hooks already running to return. A hook that clears cannot wait for its
  // own run, nor for another run that is clearing too (each would wait for the other): it
  // waits for the runs that are not clearing.
  if (!running_hooks_of(state_.get())) {
    state_->hook_runs_changed.wait(lock, [this] { return state_->hook_runs == 0; });
    return;
  }
  ++state_->clearing_hook_runs;
  state_->hook_runs_changed.notify_all();
  state_->hook_runs_changed.wait(lock, [this] { return state_->hook_runs == state_->clearing_hook_runs; });
  --state_->clearing_hook_runs;
}

std::vector<VendorCall> SimulatedRig::calls() const {
  const Guard guard(state_->mutex);
  return state_->calls;
}

std::vector<std::string> SimulatedRig::call_names() const {
  const Guard guard(state_->mutex);
  std::vector<std::string> names;
  names.reserve(state_->calls.size());
  for (const VendorCall& call : state_->calls) {
    names.push_back(call.name);
  }
  return names;
}

void SimulatedRig::clear_calls() {
  const Guard guard(state_->mutex);
  state_->calls.clear();
}

std::vector<std::string> SimulatedRig::violations() const {
  const Guard guard(state_->mutex);
  return state_->violations;
}

int SimulatedRig::open_sessions() const {
  const Guard guard(state_->mutex);
  return state_->open_sessions;
}

}  // namespace tovanel::uvc_stereo::sim
