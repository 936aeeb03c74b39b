#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "uvc_stereo/imu_stream.h"

namespace tovanel::uvc_stereo::cli {

// A window of seconds of an IMU stream, measured on the clock the stream stamps its samples
// with (the host's monotonic clock, or a simulated rig's virtual clock), never on the tool's
// own: a rig in virtual time then streams as many samples as the window holds, not as many as
// the machine can read in that many seconds of real time. The window opens with the first
// sample's read; the stream tells where it ends, as a pull bounded by the window's end comes
// back short only when no read of the stream begins before that end.
class ImuStreamWindow {
 public:
  explicit ImuStreamWindow(double seconds);

  // How long the next pull may wait: `slice` until the window opens, then up to `slice` but
  // never past the window's end.
  [[nodiscard]] std::chrono::nanoseconds next_timeout(std::chrono::nanoseconds slice);
  // A pull for `asked` samples came back with `pulled` of them in `samples`, ending its
  // timeout from next_timeout.
  void on_pull(const ImuStreamSample* samples, std::size_t pulled, std::size_t asked);

  // Whether the window has ended: its length passed between the reads of its first and last
  // sample, or a pull bounded by its end came back short.
  [[nodiscard]] bool over() const noexcept { return over_; }
  // Seconds between the reads of the window's first and last sample, on the stream's clock.
  [[nodiscard]] double elapsed_s() const noexcept;

 private:
  std::uint64_t length_ns_;
  bool open_ = false;
  std::uint64_t first_read_ns_ = 0;
  std::uint64_t latest_read_ns_ = 0;
  bool bounded_ = false;
  bool over_ = false;
};

}  // namespace tovanel::uvc_stereo::cli
