#include "support/pause_recorder.h"

namespace tovanel::uvc_stereo::test_support {

std::vector<std::chrono::milliseconds> PauseRecorder::durations() const {
  std::vector<std::chrono::milliseconds> result;
  for (const RecordedPause& pause : pauses()) {
    result.push_back(pause.duration);
  }
  return result;
}

void PauseRecorder::record(std::chrono::milliseconds duration, void* context) {
  auto* self = static_cast<PauseRecorder*>(context);
  RecordedPause pause;
  pause.duration = duration;
  pause.calls_before = self->rig_ != nullptr ? self->rig_->calls().size() : 0;
  const std::lock_guard<std::mutex> guard(self->mutex_);
  self->pauses_.push_back(pause);
}

}  // namespace tovanel::uvc_stereo::test_support
