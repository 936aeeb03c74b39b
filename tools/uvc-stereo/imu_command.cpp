#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/file_io.h"
#include "uvc-stereo/imu_stream_stats.h"
#include "uvc-stereo/interrupt_deferral.h"
#include "uvc-stereo/json_writer.h"
#include "uvc-stereo/svg_plot.h"
#include "uvc-stereo/trace_envelope.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kDefaultRateHz = 200.0;
constexpr double kMaxRateHz = 100000.0;
constexpr std::uint64_t kMaxCount = 1000000000;
constexpr auto kLiveLineInterval = std::chrono::milliseconds(250);
// Runs of samples the plot keeps: more than the plot has pixel columns, in about 1 MB.
constexpr std::size_t kPlotBuckets = 2048;
// Rows of a stream read as fast as the camera answers that are written out together.
constexpr std::uint64_t kFlushRows = 32;

CommandSyntax imu_syntax() {
  CommandSyntax syntax = camera_command_syntax(
      "imu", "[options]",
      "Streams the camera's IMU samples converted to degrees Celsius, g and degrees per second. The\n"
      "camera's 20-bit sample counter is unwrapped past its wrap, and gaps in it are counted as missed\n"
      "samples. Without --csv or --json a terminal shows the latest values four times a second, with\n"
      "the sample rate and missed samples; when the samples go elsewhere, a live line on a terminal's\n"
      "standard error shows the sample rate, missed samples and read latency.");
  syntax.options.push_back({"count", "N", "stop after N samples"});
  syntax.options.push_back({"duration", "S", "stop after S seconds"});
  syntax.options.push_back({"rate", "HZ", "reads per second (default 200; 0 reads as fast as the camera answers)"});
  syntax.options.push_back({"csv", "", "print one CSV line per sample, after a header line"});
  syntax.options.push_back({"json", "", "print one JSON object per line per sample"});
  syntax.options.push_back({"plot", "FILE",
                            "write an SVG plot of the accelerometer and gyroscope traces when the\n"
                            "stream ends (FILE is checked before it starts, and created only then)"});
  syntax.options.push_back({"force", "", "replace the --plot FILE if it exists (by default it is left alone)"});
  syntax.details +=
      "Without --count or --duration the stream runs until Ctrl-C or SIGTERM, which end it cleanly:\n"
      "the last row complete, the plot written. A summary line goes to standard error at the end. Columns "
      "of --csv (and keys of --json): sample (read number), counter (the\n"
      "unwrapped sample counter), raw_counter (as the camera sent it), missed (samples skipped just\n"
      "before this one), time_s (host time since the first sample), latency_ms (time the read took),\n"
      "temperature_c, accel x/y/z in g, gyro x/y/z in deg/s.\n"
      "\n"
      "The plot keeps the first, lowest, highest and last values of each stretch of the stream in a\n"
      "fixed 1 MB, so a stream of any length can be plotted and its spikes still show.\n";
  return syntax;
}

struct StreamOptions {
  std::optional<std::uint64_t> count;
  std::optional<double> duration_s;
  double rate_hz = kDefaultRateHz;
  bool csv = false;
  bool json = false;
  std::optional<std::string> plot;
  bool replace_plot = false;
};

std::optional<StreamOptions> stream_options(const ParsedArguments& arguments, Console& console, int& exit_status) {
  StreamOptions options;
  const auto refuse = [&](const std::string& message) {
    exit_status = report_usage_error("imu", message, console);
    return std::nullopt;
  };
  if (const std::optional<std::string> count = arguments.value("count")) {
    options.count = parse_unsigned(*count, kMaxCount);
    if (!options.count || *options.count == 0) {
      return refuse("--count takes a number of samples from 1, not '" + *count + "'");
    }
  }
  if (const std::optional<std::string> duration = arguments.value("duration")) {
    options.duration_s = parse_non_negative(*duration);
    if (!options.duration_s || *options.duration_s <= 0.0) {
      return refuse("--duration takes a number of seconds above 0, not '" + *duration + "'");
    }
  }
  if (const std::optional<std::string> rate = arguments.value("rate")) {
    const std::optional<double> parsed = parse_non_negative(*rate);
    if (!parsed || *parsed > kMaxRateHz) {
      return refuse("--rate takes reads per second from 0 to 100000, not '" + *rate + "'");
    }
    options.rate_hz = *parsed;
  }
  options.csv = arguments.has("csv");
  options.json = arguments.has("json");
  if (options.csv && options.json) {
    return refuse("choose one of --csv and --json");
  }
  options.plot = arguments.value("plot");
  options.replace_plot = arguments.has("force");
  return options;
}

std::string fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", decimals, value);
  return text;
}

// One sample as the stream prints it.
struct StreamSample {
  std::uint64_t index = 0;
  SampleCounterUnwrapper::Step step;
  std::uint32_t raw_counter = 0;
  double time_s = 0.0;
  double latency_ms = 0.0;
  ConvertedImuResult converted;
};

std::string csv_header() {
  return "sample,counter,raw_counter,missed,time_s,latency_ms,temperature_c,accel_x_g,accel_y_g,accel_z_g,"
         "gyro_x_dps,gyro_y_dps,gyro_z_dps";
}

std::string csv_line(const StreamSample& s) {
  std::string line = std::to_string(s.index) + "," + std::to_string(s.step.counter) + "," +
                     std::to_string(s.raw_counter) + "," + std::to_string(s.step.missed) + "," + fixed(s.time_s, 6) +
                     "," + fixed(s.latency_ms, 3) + "," + fixed(s.converted.temperature_c, 3);
  for (double g : s.converted.accel_g) {
    line += "," + fixed(g, 5);
  }
  for (double dps : s.converted.gyro_dps) {
    line += "," + fixed(dps, 4);
  }
  return line;
}

// The readable view of a terminal: one row four times a second, under a header.
std::string readable_header() {
  return "    time s   temp C   accel x g  accel y g  accel z g  gyro x dps  gyro y dps  gyro z dps   rate Hz  missed";
}

std::string readable_row(const StreamSample& s, const ImuStreamStats& stats) {
  char row[192];
  std::snprintf(row, sizeof(row), "%10.3f  %7.2f  %9.4f  %9.4f  %9.4f  %10.3f  %10.3f  %10.3f  %8.1f  %6llu", s.time_s,
                s.converted.temperature_c, s.converted.accel_g[0], s.converted.accel_g[1], s.converted.accel_g[2],
                s.converted.gyro_dps[0], s.converted.gyro_dps[1], s.converted.gyro_dps[2], stats.sample_rate_hz(),
                static_cast<unsigned long long>(stats.missed()));
  return row;
}

// The live line of standard error, drawn over itself: cut to the terminal's width so that it
// never wraps (a wrapped line cannot be drawn over, and the screen fills with copies), and
// padded to blank out the end of a longer line before it.
class LiveLine {
 public:
  explicit LiveLine(std::size_t columns) : width_((columns == 0 ? kAssumedColumns : columns) - 1) {}

  void draw(std::ostream& err, const std::string& text) {
    const std::string shown = text.substr(0, width_);
    err << '\r' << shown << std::string(drawn_ > shown.size() ? drawn_ - shown.size() : 0, ' ');
    drawn_ = shown.size();
  }

 private:
  static constexpr std::size_t kAssumedColumns = 80;
  std::size_t width_;
  std::size_t drawn_ = 0;
};

std::string json_line(const StreamSample& s) {
  JsonWriter json;
  json.begin_object();
  json.key("sample").number(s.index);
  json.key("counter").number(s.step.counter);
  json.key("raw_counter").number(static_cast<std::uint64_t>(s.raw_counter));
  json.key("missed").number(static_cast<std::uint64_t>(s.step.missed));
  json.key("repeated").boolean(s.step.repeated);
  json.key("time_s").number(s.time_s, 9);
  json.key("latency_ms").number(s.latency_ms, 6);
  json.key("temperature_c").number(s.converted.temperature_c, 8);
  json.key("accel_g").begin_array();
  for (double g : s.converted.accel_g) {
    json.number(g, 8);
  }
  json.end_array();
  json.key("gyro_dps").begin_array();
  for (double dps : s.converted.gyro_dps) {
    json.number(dps, 8);
  }
  json.end_array();
  json.end_object();
  return json.text();
}

// The plot's traces: accelerometer x/y/z, then gyroscope x/y/z.
constexpr std::size_t kPlotChannels = 6;

void add_to_plot(TraceEnvelope& traces, const StreamSample& s) {
  const double values[kPlotChannels] = {s.converted.accel_g[0],  s.converted.accel_g[1],  s.converted.accel_g[2],
                                        s.converted.gyro_dps[0], s.converted.gyro_dps[1], s.converted.gyro_dps[2]};
  traces.add(s.time_s, values);
}

int write_plot(const std::string& path, bool replace, const TraceEnvelope& traces, const SelectedCamera& camera,
               Console& console) {
  static const char* const kAxisNames[3] = {"x", "y", "z"};
  static const char* const kAxisColors[3] = {"#d62728", "#2ca02c", "#1f77b4"};
  TraceEnvelope::Points points = traces.points();
  std::vector<PlotPanel> panels(2);
  panels[0].title = "Accelerometer";
  panels[0].unit = "acceleration (g)";
  panels[1].title = "Gyroscope";
  panels[1].unit = "angular rate (deg/s)";
  for (std::size_t axis = 0; axis < 3; ++axis) {
    panels[0].series.push_back({kAxisNames[axis], kAxisColors[axis], std::move(points.values[axis])});
    panels[1].series.push_back({kAxisNames[axis], kAxisColors[axis], std::move(points.values[3 + axis])});
  }
  const std::string title = "IMU of " + describe_camera(camera) + ": " + std::to_string(traces.samples()) + " samples";
  std::string error;
  if (!write_output_file(path, render_svg_plot(title, points.time_s, panels), replace, error)) {
    return report_file_error(error, console);
  }
  console.err << "plot written to " << path << "\n";
  return kExitOk;
}

int imu_body(const ParsedArguments& arguments, Console& console) {
  int exit_status = kExitOk;
  const std::optional<StreamOptions> options = stream_options(arguments, console, exit_status);
  if (!options) {
    return exit_status;
  }
  // A plot that cannot be written is found now, not after a stream the user waited for; the
  // file itself is created only when the stream has ended and the plot is written.
  if (options->plot) {
    if (const std::string refused = output_path_refusal(*options->plot, options->replace_plot, "the plot ");
        !refused.empty()) {
      return report_file_error(refused, console);
    }
  }
  OpenedSelection opened = open_selected_camera("imu", arguments, console);
  if (!opened.device) {
    return opened.exit_status;
  }
  const SelectedCamera& camera = *opened.camera;
  Device& device = *opened.device;
  if (const Status open = device.open_imu(); !open.ok()) {
    return report_sdk_error(open, "opening the IMU of " + describe_camera(camera), console);
  }

  // Ctrl-C, SIGTERM (a service manager, `timeout`, `kill`) or a closed terminal or console
  // ends an unbounded stream cleanly: the row being written is finished, the IMU closed,
  // the plot written.
  const InterruptDeferral interrupts;
  // Readable values only for a person at a terminal; a file or a pipe gets data or nothing.
  const bool readable = !options->csv && !options->json && console.out_is_terminal;
  // The live line shares no screen with the rows: it is drawn only when the samples go elsewhere.
  const bool live_line = console.err_is_terminal && !console.out_is_terminal;
  LiveLine line(console.err_columns);
  if (options->csv) {
    console.out << csv_header() << "\n";
  } else if (readable) {
    console.out << readable_header() << "\n";
  }
  ImuStreamStats stats;
  TraceEnvelope traces(kPlotChannels, kPlotBuckets);
  std::optional<Status> failure;
  std::uint64_t first_timestamp_ns = 0;
  const Clock::time_point start = Clock::now();
  const auto period =
      options->rate_hz > 0.0
          ? std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / options->rate_hz))
          : Clock::duration::zero();
  Clock::time_point next_read = start;
  Clock::time_point next_live_line = start + kLiveLineInterval;
  Clock::time_point next_readable_row = start;
  std::optional<StreamSample> unshown;
  bool output_failed = false;

  for (std::uint64_t index = 0;; ++index) {
    if (interrupts.interrupted() || (options->count && index >= *options->count)) {
      break;
    }
    // A stream always holds at least one sample, however short its duration.
    if (options->duration_s && index > 0 &&
        std::chrono::duration<double>(Clock::now() - start).count() >= *options->duration_s) {
      break;
    }
    if (period > Clock::duration::zero()) {
      // Some platforms wake a sleeper a little early; the read still waits for its time.
      while (Clock::now() < next_read) {
        std::this_thread::sleep_until(next_read);
      }
      // After a stall the schedule restarts from now rather than reading in a burst to catch up.
      next_read = std::max(next_read + period, Clock::now());
    }
    const Clock::time_point before = Clock::now();
    Result<ReadImuResult> raw = device.read_imu();
    const Clock::time_point after = Clock::now();
    if (!raw.ok()) {
      failure = raw.status();
      break;
    }
    Result<ConvertedImuResult> converted = device.convert_imu(raw.value());
    if (!converted.ok()) {
      failure = converted.status();
      break;
    }
    if (index == 0) {
      first_timestamp_ns = raw.value().host_timestamp_ns;
    }
    const auto latency_ns =
        static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(after - before).count());
    StreamSample sample;
    sample.index = index;
    sample.raw_counter = raw.value().sample_counter;
    sample.step = stats.add(raw.value().sample_counter, raw.value().host_timestamp_ns, latency_ns);
    // A host clock that failed reads 0; such a sample is placed at the start rather than aeons later.
    const std::uint64_t timestamp_ns = raw.value().host_timestamp_ns;
    sample.time_s =
        timestamp_ns > first_timestamp_ns ? static_cast<double>(timestamp_ns - first_timestamp_ns) / 1e9 : 0.0;
    sample.latency_ms = static_cast<double>(latency_ns) / 1e6;
    sample.converted = converted.value();

    if (options->plot) {
      add_to_plot(traces, sample);
    }
    if (options->csv) {
      console.out << csv_line(sample) << "\n";
    } else if (options->json) {
      console.out << json_line(sample) << "\n";
    } else if (readable && after >= next_readable_row) {
      console.out << readable_row(sample, stats) << "\n";
      next_readable_row = after + kLiveLineInterval;
      unshown.reset();
    } else if (readable) {
      unshown = sample;
    }
    // Rows that go to a file or a pipe are handed on a batch at a time: all that was read
    // before the next wait for the camera, or kFlushRows of an unpaced stream. A full disk
    // or a reader gone is then found within a batch, not a buffer of seconds of rows later.
    if (!console.out_is_terminal && (period > Clock::duration::zero() || (index + 1) % kFlushRows == 0)) {
      console.out.flush();
    }
    // Samples nobody can receive are not worth reading: a full disk or a closed pipe ends the stream.
    if (!console.out) {
      output_failed = true;
      break;
    }
    if (live_line && after >= next_live_line) {
      line.draw(console.err, stats.live_line());
      console.err.flush();
      next_live_line = after + kLiveLineInterval;
    }
  }
  // The last sample read is always shown, so the view ends on where the stream ended.
  if (unshown && !output_failed) {
    console.out << readable_row(*unshown, stats) << "\n";
  }
  if (live_line) {
    line.draw(console.err, stats.live_line());
    console.err << "\n";
  }
  console.out.flush();
  output_failed = output_failed || !console.out;
  if (const Status closed = device.close_imu(); !closed.ok() && !failure) {
    failure = closed;
  }
  console.err << stats.summary() << "\n";

  int plot_status = kExitOk;
  if (options->plot && traces.samples() != 0) {
    plot_status = write_plot(*options->plot, options->replace_plot, traces, camera, console);
  }
  if (failure) {
    return report_sdk_error(*failure, "reading the IMU of " + describe_camera(camera), console);
  }
  if (output_failed) {
    // The summary line above says how many samples were read before the stream stopped.
    return report_output_failure({}, console);
  }
  return plot_status;
}

}  // namespace

int run_imu(const std::vector<std::string>& args, Console& console) {
  return run_command(imu_syntax(), args, console, imu_body);
}

}  // namespace tovanel::uvc_stereo::cli
