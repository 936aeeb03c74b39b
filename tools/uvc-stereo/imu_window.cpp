#include "uvc-stereo/imu_window.h"

#include <algorithm>
#include <cmath>

namespace tovanel::uvc_stereo::cli {

ImuStreamWindow::ImuStreamWindow(double seconds)
    : length_ns_(seconds > 0.0 ? static_cast<std::uint64_t>(std::llround(seconds * 1e9)) : 0) {}

std::chrono::nanoseconds ImuStreamWindow::next_timeout(std::chrono::nanoseconds slice) {
  // Until a sample opened the window it has no end on the stream's clock: the stream's first read is due at once and
  // always delivers, so a window holds at least one sample however short it is.
  if (!open_) {
    bounded_ = false;
    return slice;
  }
  const std::uint64_t elapsed = latest_read_ns_ - first_read_ns_;
  const std::uint64_t left = elapsed < length_ns_ ? length_ns_ - elapsed : 0;
  const auto wanted = static_cast<std::uint64_t>(std::max<std::int64_t>(0, slice.count()));
  bounded_ = left <= wanted;
  return std::chrono::nanoseconds(static_cast<std::int64_t>(std::min(left, wanted)));
}

void ImuStreamWindow::on_pull(const ImuStreamSample* samples, std::size_t pulled, std::size_t asked) {
  if (pulled != 0) {
    if (!open_) {
      open_ = true;
      first_read_ns_ = samples[0].read_time_ns;
    }
    latest_read_ns_ = std::max(latest_read_ns_, samples[pulled - 1].read_time_ns);
  }
  // The stream returns short of its count only when no read of it begins before the pull's deadline, here the
  // window's end; its reads are what advance its clock, so asking again would learn nothing more.
  over_ = over_ || (open_ && latest_read_ns_ - first_read_ns_ >= length_ns_) || (bounded_ && pulled < asked);
}

double ImuStreamWindow::elapsed_s() const noexcept {
  return static_cast<double>(latest_read_ns_ - first_read_ns_) / 1e9;
}

}  // namespace tovanel::uvc_stereo::cli
