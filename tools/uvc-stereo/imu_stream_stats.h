#pragma once

#include <string>

#include "uvc_stereo/imu_stream.h"

namespace tovanel::uvc_stereo::cli {

// The live line of an IMU stream, from the stream's own figures:
// "812 samples 200.0 Hz -3.2 ppm missed 3 dup 1624 restarts 1 read 0.41/0.98 ms", short enough
// for an 80-column terminal: the clock error, duplicate reads skipped, and the median and 99th
// percentile read latency.
[[nodiscard]] std::string imu_live_line(const ImuStreamStatistics& stats);

// The closing summary of an IMU stream, one line: samples, how long they span by the host's
// clock, rate and clock error, missed samples, duplicate reads skipped, restarts and read latency.
[[nodiscard]] std::string imu_summary(const ImuStreamStatistics& stats, double span_s);

}  // namespace tovanel::uvc_stereo::cli
