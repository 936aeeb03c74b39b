// The IMU stream in the C interface: open, read a batch into the caller's array, statistics, free.

#include "uvc_stereo/imu_stream.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/records.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

namespace {

ImuStreamOptions from_c(const uvc_stereo_imu_stream_options_t& options) noexcept {
  ImuStreamOptions out;
  out.nominal_rate_hz = options.nominal_rate_hz;
  out.reads_per_sample = options.reads_per_sample;
  out.max_reads_per_second = options.max_reads_per_second;
  return out;
}

void to_c(const ImuStreamSample& sample, uvc_stereo_imu_stream_sample_t& out) noexcept {
  out.counter = sample.counter;
  out.sample_index = sample.sample_index;
  out.segment = sample.segment;
  out.restarted = sample.restarted;
  out.missed_before = sample.missed_before;
  out.host_time_ns = sample.host_time_ns;
  out.host_time_uncertainty_ns = sample.host_time_uncertainty_ns;
  out.read_time_ns = sample.read_time_ns;
  out.raw.struct_size = sizeof(out.raw);
  c_api::to_c(sample.raw, out.raw);
  out.converted.struct_size = sizeof(out.converted);
  c_api::to_c(sample.converted, out.converted);
}

// The element `index` of an array whose elements are `stride` bytes apart.
uvc_stereo_imu_stream_sample_t& element(uvc_stereo_imu_stream_sample_t* samples, std::size_t stride,
                                        std::size_t index) noexcept {
  return *reinterpret_cast<uvc_stereo_imu_stream_sample_t*>(reinterpret_cast<unsigned char*>(samples) + stride * index);
}

Status read_into(uvc_stereo_imu_stream_t& stream, uvc_stereo_imu_stream_sample_t* samples, std::size_t count,
                 std::uint64_t timeout_ns, std::size_t& samples_read) {
  const std::size_t stride = samples->struct_size;
  if (stream.batch.size() < count) {
    stream.batch.resize(count);
  }
  const auto timeout = std::chrono::nanoseconds(
      static_cast<std::int64_t>(std::min<std::uint64_t>(timeout_ns, std::numeric_limits<std::int64_t>::max())));
  const ImuPull pulled = stream.stream.pull(stream.batch.data(), count, timeout);
  for (std::size_t i = 0; i < pulled.count; ++i) {
    uvc_stereo_imu_stream_sample_t& out = element(samples, stride, i);
    // Only the bytes of this version's layout are written; a newer caller's later fields stay as they were.
    to_c(stream.batch[i], out);
    out.struct_size = static_cast<std::uint32_t>(stride);
  }
  samples_read = pulled.count;
  return pulled.status;
}

}  // namespace

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_imu_stream_options_defaults(uvc_stereo_imu_stream_options_t* options) {
  return c_api::write_struct("uvc_stereo_imu_stream_options_defaults", options, "options",
                             "uvc_stereo_imu_stream_options_t", [](auto& out) {
                               const ImuStreamOptions defaults;
                               out.nominal_rate_hz = defaults.nominal_rate_hz;
                               out.reads_per_sample = defaults.reads_per_sample;
                               out.max_reads_per_second = defaults.max_reads_per_second;
                             });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_imu_stream_open(uvc_stereo_device_t* device,
                                                              const uvc_stereo_imu_stream_options_t* options,
                                                              uvc_stereo_imu_stream_t** stream) {
  constexpr const char* kFunction = "uvc_stereo_imu_stream_open";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(device, kFunction, "device"), c_api::require(stream, kFunction, "stream"));
    if (checked.ok() && options != nullptr) {
      checked = c_api::require_struct(options, kFunction, "options", "uvc_stereo_imu_stream_options_t");
    }
    if (!checked.ok()) {
      return checked;
    }
    *stream = nullptr;
    return c_api::hand_out(ImuStream::open(device->device, options != nullptr ? from_c(*options) : ImuStreamOptions{}),
                           stream);
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_imu_stream_read(uvc_stereo_imu_stream_t* stream,
                                                              uvc_stereo_imu_stream_sample_t* samples,
                                                              std::size_t count, std::uint64_t timeout_ns,
                                                              std::size_t* samples_read) {
  constexpr const char* kFunction = "uvc_stereo_imu_stream_read";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::require(stream, kFunction, "stream"),
                                          c_api::require(samples_read, kFunction, "samples_read"));
    if (!checked.ok()) {
      return checked;
    }
    *samples_read = 0;
    if (count == 0) {
      return Status();
    }
    checked = c_api::require_struct(samples, kFunction, "samples", "uvc_stereo_imu_stream_sample_t");
    return checked.ok() ? read_into(*stream, samples, count, timeout_ns, *samples_read) : checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_imu_stream_statistics(const uvc_stereo_imu_stream_t* stream,
                                                                    uvc_stereo_imu_stream_statistics_t* statistics) {
  constexpr const char* kFunction = "uvc_stereo_imu_stream_statistics";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(
            c_api::require(stream, kFunction, "stream"),
            c_api::require_struct(statistics, kFunction, "statistics", "uvc_stereo_imu_stream_statistics_t"));
      },
      [&] {
        const Result<ImuStreamStatistics> stats = stream->stream.statistics();
        if (!stats.ok()) {
          return stats.status();
        }
        const ImuStreamStatistics& in = stats.value();
        statistics->samples_delivered = in.samples_delivered;
        statistics->duplicate_reads = in.duplicate_reads;
        statistics->samples_missed = in.samples_missed;
        statistics->restarts = in.restarts;
        statistics->reads = in.reads;
        statistics->failed_reads = in.failed_reads;
        statistics->rate_hz = in.rate_hz;
        statistics->nominal_rate_hz = in.nominal_rate_hz;
        statistics->clock_error_ppm = in.clock_error_ppm;
        statistics->read_latency_min_ns = in.read_latency_min_ns;
        statistics->read_latency_median_ns = in.read_latency_median_ns;
        statistics->read_latency_p99_ns = in.read_latency_p99_ns;
        statistics->read_latency_max_ns = in.read_latency_max_ns;
        return Status();
      });
}

void UVC_STEREO_CALL uvc_stereo_imu_stream_free(uvc_stereo_imu_stream_t* stream) { delete stream; }

}  // extern "C"
