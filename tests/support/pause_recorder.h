#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <vector>

#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "uvc_stereo/simulated_rig.h"

// The settling pauses the SDK asks for, observed without being spent.
namespace tovanel::uvc_stereo::test_support {

// One pause the SDK asked for, and how many vendor calls the rig had seen at that moment.
struct RecordedPause {
  std::chrono::milliseconds duration{0};
  std::size_t calls_before = 0;
};

// Replaces every pause with a record while it lives, so the suite stays fast and the pauses can be checked.
class PauseRecorder {
 public:
  explicit PauseRecorder(const sim::SimulatedRig* rig = nullptr)
      : rig_(rig), hook_{&PauseRecorder::record, this}, installed_(detail::bridge::replacing_pauses(hook_)) {}
  PauseRecorder(const PauseRecorder&) = delete;
  PauseRecorder& operator=(const PauseRecorder&) = delete;

  [[nodiscard]] std::vector<RecordedPause> pauses() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return pauses_;
  }
  [[nodiscard]] std::vector<std::chrono::milliseconds> durations() const;
  void clear() {
    const std::lock_guard<std::mutex> guard(mutex_);
    pauses_.clear();
  }

 private:
  static void record(std::chrono::milliseconds duration, void* context);

  const sim::SimulatedRig* rig_;
  mutable std::mutex mutex_;
  std::vector<RecordedPause> pauses_;
  const detail::bridge::PauseHook hook_;
  const detail::bridge::PlatformOverride installed_;
};

}  // namespace tovanel::uvc_stereo::test_support
