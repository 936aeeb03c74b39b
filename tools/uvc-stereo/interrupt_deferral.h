#pragma once

namespace tovanel::uvc_stereo::cli {

// Holds Ctrl-C and the system's requests to end the program while a command runs: SIGINT,
// SIGTERM and SIGHUP (the terminal closed) on POSIX systems; on Windows the console's
// control events (Ctrl-C, Ctrl-Break, the console closed, logoff, shutdown) and the C
// runtime's SIGINT and SIGTERM. An interrupt is only recorded, and the command decides when
// to act on it: config set aborts with nothing written before the camera is touched, and
// once the flash is being erased and written finishes the write and its verification first,
// so the record is never left half-written; an IMU stream ends with its rows complete and
// its plot written. A hangup ignored when the command starts (as under nohup) stays ignored.
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
  static constexpr int kMaxSignals = 3;
  int signals_[kMaxSignals] = {};
  Handler previous_[kMaxSignals] = {};
  int routed_ = 0;
};

}  // namespace tovanel::uvc_stereo::cli
