#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "uvc_stereo/device.h"
#include "uvc_stereo/export.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo {

/// One IMU sample as an ImuStream delivers it. Every sample the camera took reaches the
/// caller at most once, in the order taken; the ones no read saw are counted in
/// `missed_before` of the next one delivered.
struct ImuStreamSample {
  /// The sample's place in the stream: continuous across the 20-bit counter's wraps, it
  /// grows by 1 + `missed_before` from one delivered sample to the next, also across a
  /// restart. The first sample's index is its counter.
  std::uint64_t sample_index = 0;
  /// The raw 20-bit counter the camera sent.
  std::uint32_t counter = 0;
  /// Restarts of the camera seen before this sample (its counter went back to 0).
  std::uint32_t segment = 0;
  /// True for the first sample after a restart; `missed_before` then counts the samples
  /// of the new count before it.
  bool restarted = false;
  /// Samples the camera took just before this one that no read saw.
  std::uint64_t missed_before = 0;
  /// When the camera took the sample, in nanoseconds on the host's monotonic clock:
  /// CLOCK_MONOTONIC on Linux, the performance counter on Windows, the clocks V4L2 and
  /// Media Foundation stamp video frames with, so samples and frames line up as they
  /// are. Estimated from the fit of the camera's sample clock to the host's; strictly
  /// increasing over the stream's life, restarts included.
  std::uint64_t host_time_ns = 0;
  /// The reads bound the sample's time to `host_time_ns` plus or minus this; the all-ones
  /// value for the stream's first sample, which may have been taken any time in the
  /// sample period before its read while that period is still unknown.
  std::uint64_t host_time_uncertainty_ns = 0;
  /// The middle of the read that delivered the sample (what read_imu stamps a sample with).
  std::uint64_t read_time_ns = 0;
  /// The sample as read_imu gives it (its host_timestamp_ns is `read_time_ns`).
  ReadImuResult raw;
  /// The sample in physical units with the device's conversion options (its
  /// host_timestamp_ns is `host_time_ns`).
  ConvertedImuResult converted;
};

/// How an ImuStream reads.
struct ImuStreamOptions {
  /// The rate the camera's IMU runs at by its own clock, for the clock error; 0 takes the
  /// usual IMU rate nearest to the measured one.
  double nominal_rate_hz = 0.0;
  /// Reads per sample period the stream paces itself to (at least 1). More than one lets
  /// the reads pin each sample's time down and see every sample despite the transfer's
  /// jitter; 3 is a good balance with the bus.
  double reads_per_sample = 3.0;
  /// The most reads per second the stream may make, whatever its pacing wants; 0 for no
  /// limit of the caller's own.
  double max_reads_per_second = 0.0;
};

/// What an ImuStream has done so far, on demand.
struct ImuStreamStatistics {
  std::uint64_t samples_delivered = 0;       ///< new samples handed to the caller
  std::uint64_t duplicate_reads = 0;         ///< reads that answered the sample already delivered
  std::uint64_t samples_missed = 0;          ///< samples the camera took that no read saw (sum of missed_before)
  std::uint64_t restarts = 0;                ///< restarts of the camera seen
  std::uint64_t reads = 0;                   ///< reads made, failed ones included
  std::uint64_t failed_reads = 0;            ///< reads that ended a pull with an error
  double rate_hz = 0.0;                      ///< samples per second by the host's clock; 0 until two samples were seen
  double nominal_rate_hz = 0.0;              ///< the rate the clock error is measured against
  double clock_error_ppm = 0.0;              ///< how much faster (positive) the camera's clock runs than the host's
  std::uint64_t read_latency_min_ns = 0;     ///< shortest read
  std::uint64_t read_latency_median_ns = 0;  ///< median read (within about 3%)
  std::uint64_t read_latency_p99_ns = 0;     ///< 99th percentile of the reads (within about 3%)
  std::uint64_t read_latency_max_ns = 0;     ///< longest read
};

/// What one pull delivered: `count` samples written to the caller's array, and why the
/// pull ended early if it did.
struct ImuPull {
  std::size_t count = 0;  ///< samples written, all valid even when `status` is a failure
  /// Ok when the pull got its count or reached its timeout; otherwise the failure of the
  /// read that ended it (a status byte of the camera: DeviceUnavailable for 0xF1,
  /// ReadFailed for 0xF2; a camera gone: PlatformError from SonixCam_XuRead).
  Status status;
};

/// A stream of IMU samples over an open Device, pulled by the caller: the library starts
/// no thread. Each pull reads the camera as often as its pacing allows (reads_per_sample
/// times per sample period once the rate is known, a read a millisecond before, never
/// more than ten thousand a second), hands out each new sample exactly
/// once and in order, and counts what it could not see. Nothing is allocated per sample
/// after open, on any backend.
///
/// A read that fails ends the pull with its error after the samples read before it. The
/// stream stays open: the next pull reads again and continues the same timeline, counting
/// the samples taken meanwhile as missed (a camera that restarted meanwhile shows as a
/// restart). While the camera is gone every pull fails the same way.
///
/// The Device must outlive the stream, and its IMU must stay open: after close_imu or a
/// move of the Device, pulls fail with the Device's own errors. Move-only; a moved-from
/// stream refuses to pull with "IMU stream is closed or moved-from". Use one stream from
/// one thread at a time.
class UVC_STEREO_API ImuStream {
 public:
  /// Opens a stream over `device`'s IMU, opening the IMU first when it is not open
  /// (Device::open_imu's failures are returned unchanged). InvalidArgument "invalid IMU
  /// stream options" when reads_per_sample is below 1 or max_reads_per_second negative.
  [[nodiscard]] static Result<ImuStream> open(Device& device, const ImuStreamOptions& options = ImuStreamOptions{});

  /// Takes over the other's stream; the other is left moved-from.
  ImuStream(ImuStream&& other) noexcept;
  /// Ends this stream, then takes over the other's.
  ImuStream& operator=(ImuStream&& other) noexcept;
  ImuStream(const ImuStream&) = delete;
  ImuStream& operator=(const ImuStream&) = delete;
  /// Leaves the Device's IMU open.
  ~ImuStream();

  /// Writes up to `count` new samples to `samples` (room for `count` needed), waiting at
  /// most `timeout` on the host clock: returns once `count` were written, or when the
  /// next paced read would begin after the deadline, or when a read fails. A timeout of
  /// 0 makes only the read due now, if one is. A null `samples` with a non-zero count is
  /// refused with InvalidArgument "samples must not be null".
  [[nodiscard]] ImuPull pull(ImuStreamSample* samples, std::size_t count, std::chrono::nanoseconds timeout);

  /// The stream's counts, rate, clock error and read latencies so far.
  [[nodiscard]] Result<ImuStreamStatistics> statistics() const;

 private:
  struct Impl;
  explicit ImuStream(std::unique_ptr<Impl> impl) noexcept;

  std::unique_ptr<Impl> impl_;
};

}  // namespace tovanel::uvc_stereo
