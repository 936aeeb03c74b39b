#include "uvc-stereo/imu_stream_stats.h"

#include <cstdio>

namespace tovanel::uvc_stereo::cli {
namespace {

double ms(std::uint64_t ns) { return static_cast<double>(ns) / 1e6; }

unsigned long long count(std::uint64_t value) { return static_cast<unsigned long long>(value); }

}  // namespace

std::string imu_live_line(const ImuStreamStatistics& stats) {
  char line[256];
  std::snprintf(line, sizeof(line),
                "%llu samples %.1f Hz %+.1f ppm missed %llu dup %llu restarts %llu read %.2f/%.2f ms",
                count(stats.samples_delivered), stats.rate_hz, stats.clock_error_ppm, count(stats.samples_missed),
                count(stats.duplicate_reads), count(stats.restarts), ms(stats.read_latency_median_ns),
                ms(stats.read_latency_p99_ns));
  return line;
}

std::string imu_summary(const ImuStreamStatistics& stats, double span_s) {
  char line[400];
  std::snprintf(line, sizeof(line),
                "read %llu samples in %.2f s (%.1f Hz, clock error %+.1f ppm against %.0f Hz); missed %llu, "
                "duplicate reads skipped %llu, restarts %llu; read latency min %.3f ms, median %.3f ms, p99 %.3f ms, "
                "max %.3f ms",
                count(stats.samples_delivered), span_s, stats.rate_hz, stats.clock_error_ppm, stats.nominal_rate_hz,
                count(stats.samples_missed), count(stats.duplicate_reads), count(stats.restarts),
                ms(stats.read_latency_min_ns), ms(stats.read_latency_median_ns), ms(stats.read_latency_p99_ns),
                ms(stats.read_latency_max_ns));
  return line;
}

}  // namespace tovanel::uvc_stereo::cli
