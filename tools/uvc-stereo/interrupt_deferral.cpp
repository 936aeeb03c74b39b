#include "uvc-stereo/interrupt_deferral.h"

#include <atomic>

#include "uvc-stereo/interrupt_platform.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// Lock-free atomics may be used from a signal handler, and from Windows' console handler
// thread without a data race.
std::atomic<bool> g_interrupted{false};
std::atomic<bool> g_writing_flash{false};
static_assert(std::atomic<bool>::is_always_lock_free);

constexpr char kFinishing[] =
    "\nuvc-stereo: interrupted while the flash is being written; finishing the write and its verification first\n";

}  // namespace

void interrupts::note_interrupt() noexcept {
  g_interrupted.store(true);
  interrupts::wake_input_wait();
  if (g_writing_flash.load()) {
    write_to_standard_error(kFinishing, sizeof(kFinishing) - 1);
  }
}

bool interrupts::interrupt_noted() noexcept { return g_interrupted.load(); }

InterruptDeferral::InterruptDeferral() {
  g_interrupted.store(false);
  g_writing_flash.store(false);
  int count = 0;
  const int* signals = interrupts::interrupt_signals(count);
  for (int i = 0; i < count && i < kMaxSignals; ++i) {
    signals_[i] = signals[i];
    previous_[i] = interrupts::route_signal(signals[i]);
    routed_ = i + 1;
  }
  interrupts::start_console_events();
}

InterruptDeferral::~InterruptDeferral() {
  g_writing_flash.store(false);
  // A console being closed waits for this moment: the command has said all it had to.
  interrupts::stop_console_events();
  for (int i = routed_ - 1; i >= 0; --i) {
    interrupts::restore_signal(signals_[i], previous_[i]);
  }
}

bool InterruptDeferral::interrupted() const noexcept { return interrupts::interrupt_noted(); }

void InterruptDeferral::flash_write_begins() noexcept { g_writing_flash.store(true); }

}  // namespace tovanel::uvc_stereo::cli
