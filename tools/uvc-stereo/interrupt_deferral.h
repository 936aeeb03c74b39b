#pragma once

namespace tovanel::uvc_stereo::cli {

// Holds Ctrl-C (SIGINT) and SIGTERM while a configuration is being written: an interrupt
// is only recorded, and the command decides when to act on it. Before the camera is touched
// it aborts with nothing written; once the flash is being erased and written it finishes the
// write and its verification first, so the record is never left half-written.
class InterruptDeferral {
 public:
  InterruptDeferral();
  ~InterruptDeferral();
  InterruptDeferral(const InterruptDeferral&) = delete;
  InterruptDeferral& operator=(const InterruptDeferral&) = delete;

  // True once an interrupt has arrived.
  [[nodiscard]] bool interrupted() const noexcept;
  // From now on an interrupt says at once, on standard error, that the write is finishing.
  void flash_write_begins() noexcept;
  // The conventional exit status of a run ended by an interrupt.
  static constexpr int kExitInterrupted = 130;

 private:
  using Handler = void (*)(int);
  static Handler install(int signal);
  Handler previous_interrupt_ = nullptr;
  Handler previous_terminate_ = nullptr;
};

}  // namespace tovanel::uvc_stereo::cli
