#include "uvc_stereo/imu_stream.h"

#include <algorithm>
#include <utility>

#include "bridge/imu_reader.h"
#include "bridge/os/host_time.h"
#include "core/guard.h"
#include "device/device_impl.h"
#include "imu/latency_histogram.h"
#include "imu/sample_timeline.h"
#include "uvc_stereo/imu.h"

namespace tovanel::uvc_stereo {
namespace {

// Until the rate is known the stream reads this often, quick enough to find the rate of any IMU within a second.
constexpr std::uint64_t kFirstReadIntervalNs = 1000000;
// Reads wander around their pace by up to half of it either way, so that they do not lock onto one phase of the
// IMU's samples and leave the rest of each period unmeasured.
constexpr double kPaceJitter = 0.5;
// The shortest gap between two reads: ten thousand reads a second serve IMUs of up to a few kilohertz, and a camera
// that answers a new sample to every read cannot talk the stream into flooding the bus.
constexpr double kShortestIntervalNs = 100000.0;

Status stream_closed() { return Status(ErrorCode::InvalidArgument, "IMU stream is closed or moved-from"); }

}  // namespace

struct ImuStream::Impl {
  Impl(Device& opened, const ImuStreamOptions& chosen, const ImuConversionOptions& conversion)
      : device(&opened), options(chosen), conversion_options(conversion), timeline(chosen.nominal_rate_hz) {}

  // The reader of the device's open IMU, or the Device's own refusal.
  [[nodiscard]] Status reader(detail::ImuReader*& out) const {
    if (!device->impl_) {
      return detail::device_closed();
    }
    if (device->impl_->imu_reader == nullptr) {
      return Status(ErrorCode::InvalidArgument, "IMU is not open");
    }
    out = device->impl_->imu_reader.get();
    return Status();
  }

  // The gap to the next read: a share of the sample period, wandering, never faster than the caller allows.
  [[nodiscard]] std::uint64_t next_interval() noexcept {
    const double period = timeline.period_ns();
    double interval = period > 0.0 ? period / options.reads_per_sample : static_cast<double>(kFirstReadIntervalNs);
    jitter_state = jitter_state * 6364136223846793005ull + 1442695040888963407ull;
    const double wander = static_cast<double>(jitter_state >> 11) * (1.0 / 9007199254740992.0);
    interval = std::max(interval * (1.0 - kPaceJitter + 2.0 * kPaceJitter * wander), kShortestIntervalNs);
    if (options.max_reads_per_second > 0.0) {
      interval = std::max(interval, 1e9 / options.max_reads_per_second);
    }
    return static_cast<std::uint64_t>(interval);
  }

  // One read; a new sample is written to `out`. False with `status` set when the read failed.
  [[nodiscard]] bool read_once(detail::ImuReader& imu, ImuStreamSample& out, bool& delivered, Status& status) {
    ++reads;
    status = imu.read_bracketed(read);
    if (!status.ok()) {
      ++failed_reads;
      // A failed read takes its place in the pace too, so a camera that keeps failing is not hammered.
      next_read_ns = read.started_ns + next_interval();
      return false;
    }
    latencies.record(read.finished_ns - read.started_ns);
    next_read_ns = read.started_ns + next_interval();
    detail::TimelineSample placed;
    delivered = timeline.on_read(read.sample.sample_counter, read.started_ns, read.finished_ns, placed);
    if (!delivered) {
      return true;
    }
    out.sample_index = placed.sample_index;
    out.counter = read.sample.sample_counter;
    out.segment = placed.segment;
    out.restarted = placed.restarted;
    out.missed_before = placed.missed_before;
    out.host_time_ns = placed.host_time_ns;
    out.host_time_uncertainty_ns = placed.uncertainty_ns;
    out.read_time_ns = read.sample.host_timestamp_ns;
    out.raw = read.sample;
    Result<ConvertedImuResult> converted = convert_imu(read.sample, conversion_options);
    out.converted = converted.ok() ? converted.value() : ConvertedImuResult{};
    out.converted.host_timestamp_ns = placed.host_time_ns;
    return true;
  }

  Device* device;
  ImuStreamOptions options;
  ImuConversionOptions conversion_options;
  detail::ImuSampleTimeline timeline;
  detail::LatencyHistogram latencies;
  detail::bridge::BracketedImuRead read;
  bool read_before = false;
  std::uint64_t next_read_ns = 0;
  std::uint64_t jitter_state = 0x853C49E6748FEA9Bull;
  std::uint64_t reads = 0;
  std::uint64_t failed_reads = 0;
};

ImuStream::ImuStream(std::unique_ptr<Impl> impl) noexcept : impl_(std::move(impl)) {}
ImuStream::ImuStream(ImuStream&& other) noexcept = default;
ImuStream& ImuStream::operator=(ImuStream&& other) noexcept = default;
ImuStream::~ImuStream() = default;

Result<ImuStream> ImuStream::open(Device& device, const ImuStreamOptions& options) {
  return detail::guard_operation("unknown exception during IMU stream open", [&]() -> Result<ImuStream> {
    if (!(options.reads_per_sample >= 1.0) || !(options.max_reads_per_second >= 0.0) ||
        !(options.nominal_rate_hz >= 0.0)) {
      return Status(ErrorCode::InvalidArgument, "invalid IMU stream options");
    }
    Status opened = device.open_imu();
    if (!opened.ok()) {
      return opened;
    }
    Result<ImuConversionOptions> conversion = device.imu_conversion_options();
    if (!conversion.ok()) {
      return conversion.status();
    }
    return ImuStream(std::make_unique<Impl>(device, options, conversion.value()));
  });
}

ImuPull ImuStream::pull(ImuStreamSample* samples, std::size_t count, std::chrono::nanoseconds timeout) {
  ImuPull pulled;
  // What was delivered before an exception stays delivered; the exception only ends the pull.
  pulled.status = detail::guard_operation("unknown exception during IMU stream pull", [&]() -> Status {
    if (!impl_) {
      return stream_closed();
    }
    if (samples == nullptr && count != 0) {
      return Status(ErrorCode::InvalidArgument, "samples must not be null");
    }
    detail::ImuReader* imu = nullptr;
    Status status = impl_->reader(imu);
    if (!status.ok()) {
      return status;
    }
    const std::uint64_t start = detail::bridge::host_now_ns();
    const std::uint64_t deadline = start + static_cast<std::uint64_t>(std::max<std::int64_t>(0, timeout.count()));
    while (pulled.count < count) {
      if (impl_->read_before && impl_->next_read_ns > detail::bridge::host_now_ns()) {
        if (impl_->next_read_ns > deadline) {
          break;
        }
        detail::bridge::host_sleep_until_ns(impl_->next_read_ns);
      } else if (impl_->read_before && detail::bridge::host_now_ns() > deadline) {
        break;
      }
      impl_->read_before = true;
      bool delivered = false;
      if (!impl_->read_once(*imu, samples[pulled.count], delivered, status)) {
        return status;
      }
      pulled.count += delivered ? 1 : 0;
    }
    return Status();
  });
  return pulled;
}

Result<ImuStreamStatistics> ImuStream::statistics() const {
  if (!impl_) {
    return stream_closed();
  }
  const detail::ImuSampleTimeline& timeline = impl_->timeline;
  ImuStreamStatistics stats;
  stats.samples_delivered = timeline.delivered();
  stats.duplicate_reads = timeline.duplicates();
  stats.samples_missed = timeline.missed();
  stats.restarts = timeline.restarts();
  stats.reads = impl_->reads;
  stats.failed_reads = impl_->failed_reads;
  stats.rate_hz = timeline.rate_hz();
  stats.nominal_rate_hz = timeline.nominal_rate_hz();
  stats.clock_error_ppm = timeline.clock_error_ppm();
  stats.read_latency_min_ns = impl_->latencies.min();
  stats.read_latency_median_ns = impl_->latencies.quantile(0.5);
  stats.read_latency_p99_ns = impl_->latencies.quantile(0.99);
  stats.read_latency_max_ns = impl_->latencies.max();
  return stats;
}

}  // namespace tovanel::uvc_stereo
