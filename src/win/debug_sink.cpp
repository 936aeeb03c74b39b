#include <mutex>

#include "win/debug_output.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

struct SinkSlot {
  std::mutex mutex;
  DebugSink sink = nullptr;
  void* context = nullptr;
};

SinkSlot& slot() noexcept {
  static SinkSlot instance;
  return instance;
}

}  // namespace

void set_debug_sink(DebugSink sink, void* context) noexcept {
  SinkSlot& s = slot();
  const std::lock_guard<std::mutex> guard(s.mutex);
  s.sink = sink;
  s.context = context;
}

void forward_to_debug_sink(const char* text) noexcept {
  SinkSlot& s = slot();
  const std::lock_guard<std::mutex> guard(s.mutex);
  if (s.sink != nullptr && text != nullptr) {
    s.sink(text, s.context);
  }
}

}  // namespace tovanel::uvc_stereo::win_detail
