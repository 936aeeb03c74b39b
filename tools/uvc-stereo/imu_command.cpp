#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "uvc-stereo/camera_selection.h"
#include "uvc-stereo/command.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/file_io.h"
#include "uvc-stereo/imu_stream_stats.h"
#include "uvc-stereo/imu_window.h"
#include "uvc-stereo/interrupt_deferral.h"
#include "uvc-stereo/json_writer.h"
#include "uvc-stereo/svg_plot.h"
#include "uvc-stereo/trace_envelope.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kMaxRateHz = 100000.0;
constexpr std::uint64_t kMaxCount = 1000000000;
constexpr auto kLiveLineInterval = std::chrono::milliseconds(250);
// Runs of samples the plot keeps: more than the plot has pixel columns, in about 1 MB.
constexpr std::size_t kPlotBuckets = 2048;
// The longest a pull waits, so that Ctrl-C and the live line are never held up for long.
constexpr auto kPullSlice = std::chrono::milliseconds(50);

CommandSyntax imu_syntax() {
  CommandSyntax syntax = camera_command_syntax(
      "imu", "[options]",
      "Streams the camera's IMU samples converted to degrees Celsius, g and degrees per second, each\n"
      "once and in the order taken, stamped with when the camera took it on the host's monotonic clock.\n"
      "The stream reads several times per sample period to pin each sample's time down; samples no read\n"
      "saw are counted as missed. Without --csv or --json a terminal shows the latest values four times a\n"
      "second, with the sample rate and missed samples; when the samples go elsewhere, a live line on a\n"
      "terminal's standard error shows the rate, clock error, missed samples, duplicate reads skipped,\n"
      "restarts and read latency.");
  syntax.options.push_back(
      {"count", "N", "stop after N samples", "a number of samples from 1",
       [](const std::string& value) { return parse_unsigned(value, kMaxCount).value_or(0) != 0; }});
  syntax.options.push_back({"duration", "S", "stop after S seconds", "a number of seconds above 0",
                            [](const std::string& value) { return parse_non_negative(value).value_or(0.0) > 0.0; }});
  syntax.options.push_back(
      {"rate", "HZ", "at most HZ reads per second (default and 0: as often as the stream's pacing wants)",
       "reads per second from 0 to 100000",
       [](const std::string& value) { return parse_non_negative(value).value_or(kMaxRateHz + 1) <= kMaxRateHz; }});
  syntax.options.push_back({"csv", "", "print one CSV line per sample, after a header line"});
  syntax.options.push_back({"json", "", "print one JSON object per line per sample"});
  syntax.options.push_back({"plot", "FILE",
                            "write an SVG plot of the accelerometer and gyroscope traces, with marks where\n"
                            "samples were missed, when the stream ends (FILE is checked before it starts,\n"
                            "and created only then)"});
  syntax.options.push_back({"force", "", "replace the --plot FILE if it exists (by default it is left alone)"});
  syntax.exclusive.push_back({{"csv", "json"}, "choose one of --csv and --json"});
  syntax.details +=
      "Without --count or --duration the stream runs until Ctrl-C or SIGTERM, which end it cleanly:\n"
      "the last row complete, the plot written. A summary line goes to standard error at the end. Columns "
      "of --csv (and keys of --json): sample_index (the sample's place in the stream, continuous past\n"
      "the counter's wrap), counter (the raw 20-bit counter the camera sent), segment (restarts of the\n"
      "camera before the sample), restarted (1 for the first sample after a restart), missed_before\n"
      "(samples no read saw just before this one), host_time_ns (when the camera took the sample, on the\n"
      "host's monotonic clock), host_time_uncertainty_ns (the sample's time is known to within this;\n"
      "empty, or null, for the first sample), read_time_ns (the middle of the read that delivered it),\n"
      "time_s (host time since the first sample), temperature_c, accel x/y/z in g, gyro x/y/z in deg/s.\n"
      "\n"
      "The plot keeps the first, lowest, highest and last values of each stretch of the stream in a\n"
      "fixed 1 MB, so a stream of any length can be plotted and its spikes still show.\n";
  return syntax;
}

struct StreamOptions {
  std::optional<std::uint64_t> count;
  std::optional<double> duration_s;
  double max_reads_per_second = 0.0;
  bool csv = false;
  bool json = false;
  std::optional<std::string> plot;
  bool replace_plot = false;
};

// The stream the options ask for (their values already checked by the command line).
StreamOptions stream_options(const ParsedArguments& arguments) {
  StreamOptions options;
  if (const std::optional<std::string> count = arguments.value("count")) {
    options.count = parse_unsigned(*count, kMaxCount);
  }
  if (const std::optional<std::string> duration = arguments.value("duration")) {
    options.duration_s = parse_non_negative(*duration);
  }
  if (const std::optional<std::string> rate = arguments.value("rate")) {
    options.max_reads_per_second = parse_non_negative(*rate).value_or(0.0);
  }
  options.csv = arguments.has("csv");
  options.json = arguments.has("json");
  options.plot = arguments.value("plot");
  options.replace_plot = arguments.has("force");
  return options;
}

std::string fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", decimals, value);
  return text;
}

// The first sample's time is not bounded by any read before it.
bool time_bounded(const ImuStreamSample& s) {
  return s.host_time_uncertainty_ns != std::numeric_limits<std::uint64_t>::max();
}

// One sample as the stream prints it: what the stream delivered, and its host time since the first sample.
struct StreamSample {
  const ImuStreamSample& sample;
  double time_s = 0.0;
};

std::string csv_header() {
  return "sample_index,counter,segment,restarted,missed_before,host_time_ns,host_time_uncertainty_ns,read_time_ns,"
         "time_s,temperature_c,accel_x_g,accel_y_g,accel_z_g,gyro_x_dps,gyro_y_dps,gyro_z_dps";
}

std::string csv_line(const StreamSample& row) {
  const ImuStreamSample& s = row.sample;
  std::string line =
      std::to_string(s.sample_index) + "," + std::to_string(s.counter) + "," + std::to_string(s.segment) + "," +
      (s.restarted ? "1" : "0") + "," + std::to_string(s.missed_before) + "," + std::to_string(s.host_time_ns) + "," +
      (time_bounded(s) ? std::to_string(s.host_time_uncertainty_ns) : std::string()) + "," +
      std::to_string(s.read_time_ns) + "," + fixed(row.time_s, 6) + "," + fixed(s.converted.temperature_c, 3);
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

std::string readable_row(const StreamSample& row, const ImuStreamStatistics& stats) {
  const ConvertedImuResult& c = row.sample.converted;
  char text[192];
  std::snprintf(text, sizeof(text), "%10.3f  %7.2f  %9.4f  %9.4f  %9.4f  %10.3f  %10.3f  %10.3f  %8.1f  %6llu",
                row.time_s, c.temperature_c, c.accel_g[0], c.accel_g[1], c.accel_g[2], c.gyro_dps[0], c.gyro_dps[1],
                c.gyro_dps[2], stats.rate_hz, static_cast<unsigned long long>(stats.samples_missed));
  return text;
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

std::string json_line(const StreamSample& row) {
  const ImuStreamSample& s = row.sample;
  JsonWriter json;
  json.begin_object();
  json.key("sample_index").number(s.sample_index);
  json.key("counter").number(static_cast<std::uint64_t>(s.counter));
  json.key("segment").number(static_cast<std::uint64_t>(s.segment));
  json.key("restarted").boolean(s.restarted);
  json.key("missed_before").number(s.missed_before);
  json.key("host_time_ns").number(s.host_time_ns);
  json.key("host_time_uncertainty_ns");
  if (time_bounded(s)) {
    json.number(s.host_time_uncertainty_ns);
  } else {
    json.null();
  }
  json.key("read_time_ns").number(s.read_time_ns);
  json.key("time_s").number(row.time_s, 9);
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

void add_to_plot(TraceEnvelope& traces, const StreamSample& row) {
  const ConvertedImuResult& c = row.sample.converted;
  const double values[kPlotChannels] = {c.accel_g[0],  c.accel_g[1],  c.accel_g[2],
                                        c.gyro_dps[0], c.gyro_dps[1], c.gyro_dps[2]};
  traces.add(row.time_s, values, row.sample.missed_before);
}

int write_plot(const std::string& path, bool replace, const TraceEnvelope& traces, const SelectedCamera& camera,
               std::uint64_t missed, Console& console) {
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
  std::string title = "IMU of " + describe_camera(camera) + ": " + std::to_string(traces.samples()) + " samples";
  if (missed != 0) {
    title += ", " + std::to_string(missed) + " missed";
  }
  std::string error;
  if (!write_output_file(path, render_svg_plot(title, points.time_s, panels, points.missed_s), replace, error)) {
    return report_file_error(error, console);
  }
  console.err << "plot written to " << path << "\n";
  return kExitOk;
}

// What the stream has counted so far; a stream that cannot say has counted nothing.
ImuStreamStatistics statistics_of(const ImuStream& stream) {
  Result<ImuStreamStatistics> stats = stream.statistics();
  return stats.ok() ? stats.value() : ImuStreamStatistics{};
}

int imu_body(const ParsedArguments& arguments, Console& console) {
  const StreamOptions options = stream_options(arguments);
  // A plot that cannot be written is found now, not after a stream the user waited for; the
  // file itself is created only when the stream has ended and the plot is written.
  if (options.plot) {
    if (const std::string refused = output_path_refusal(*options.plot, options.replace_plot, "the plot ");
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
  ImuStreamOptions pacing;
  pacing.max_reads_per_second = options.max_reads_per_second;
  Result<ImuStream> opened_stream = ImuStream::open(device, pacing);
  if (!opened_stream.ok()) {
    (void)device.close_imu();
    return report_sdk_error(opened_stream.status(), "opening the IMU of " + describe_camera(camera), console);
  }
  ImuStream& stream = opened_stream.value();

  // Ctrl-C, SIGTERM (a service manager, `timeout`, `kill`) or a closed terminal or console
  // ends an unbounded stream cleanly: the row being written is finished, the IMU closed,
  // the plot written.
  const InterruptDeferral interrupts;
  // Readable values only for a person at a terminal; a file or a pipe gets data or nothing.
  const bool readable = !options.csv && !options.json && console.out_is_terminal;
  // The live line shares no screen with the rows: it is drawn only when the samples go elsewhere.
  const bool live_line = console.err_is_terminal && !console.out_is_terminal;
  LiveLine line(console.err_columns);
  if (options.csv) {
    console.out << csv_header() << "\n";
  } else if (readable) {
    console.out << readable_header() << "\n";
  }
  TraceEnvelope traces(kPlotChannels, kPlotBuckets);
  // One sample a pull: an interrupt or a reader gone is seen at the very next sample, and the
  // rows of a file or a pipe are handed on as each sample comes.
  ImuStreamSample sample;
  std::optional<Status> failure;
  std::uint64_t delivered = 0;
  std::uint64_t first_time_ns = 0;
  std::uint64_t last_time_ns = 0;
  const Clock::time_point start = Clock::now();
  Clock::time_point next_live_line = start + kLiveLineInterval;
  Clock::time_point next_readable_row = start;
  std::optional<ImuStreamSample> unshown;
  bool output_failed = false;
  const auto time_since_first = [&](const ImuStreamSample& s) {
    return static_cast<double>(s.host_time_ns - first_time_ns) / 1e9;
  };

  // The duration is measured on the clock the samples are stamped with, so a simulated rig in
  // virtual time streams as many samples as the duration holds.
  std::optional<ImuStreamWindow> window;
  if (options.duration_s) {
    window.emplace(*options.duration_s);
  }

  for (;;) {
    if (interrupts.interrupted() || (options.count && delivered >= *options.count) || (window && window->over())) {
      break;
    }
    // Pulls are short, so an interrupt is seen at once; the last one ends at the duration's end.
    auto timeout = std::chrono::duration_cast<std::chrono::nanoseconds>(kPullSlice);
    if (window) {
      timeout = window->next_timeout(timeout);
    }
    const ImuPull pull = stream.pull(&sample, 1, timeout);
    if (window) {
      window->on_pull(&sample, pull.count, 1);
    }
    const Clock::time_point now = Clock::now();
    if (pull.count != 0) {
      if (delivered == 0) {
        first_time_ns = sample.host_time_ns;
      }
      last_time_ns = sample.host_time_ns;
      ++delivered;
      const StreamSample row{sample, time_since_first(sample)};
      if (options.plot) {
        add_to_plot(traces, row);
      }
      if (options.csv) {
        console.out << csv_line(row) << "\n";
      } else if (options.json) {
        console.out << json_line(row) << "\n";
      } else if (readable && now >= next_readable_row) {
        console.out << readable_row(row, statistics_of(stream)) << "\n";
        next_readable_row = now + kLiveLineInterval;
        unshown.reset();
      } else if (readable) {
        unshown = sample;
      }
    }
    // Rows that go to a file or a pipe are handed on as they come: a full disk or a reader
    // gone is then found at once, not a buffer of seconds of rows later.
    if (!console.out_is_terminal && pull.count != 0) {
      console.out.flush();
    }
    // Samples nobody can receive are not worth reading: a full disk or a closed pipe ends the stream.
    if (!console.out) {
      output_failed = true;
      break;
    }
    if (live_line && now >= next_live_line) {
      line.draw(console.err, imu_live_line(statistics_of(stream)));
      console.err.flush();
      next_live_line = now + kLiveLineInterval;
    }
    if (!pull.status.ok()) {
      failure = pull.status;
      break;
    }
  }
  const ImuStreamStatistics stats = statistics_of(stream);
  // The last sample read is always shown, so the view ends on where the stream ended.
  if (unshown && !output_failed) {
    console.out << readable_row(StreamSample{*unshown, time_since_first(*unshown)}, stats) << "\n";
  }
  if (live_line) {
    line.draw(console.err, imu_live_line(stats));
    console.err << "\n";
  }
  console.out.flush();
  output_failed = output_failed || !console.out;
  if (const Status closed = device.close_imu(); !closed.ok() && !failure) {
    failure = closed;
  }
  console.err << imu_summary(stats, static_cast<double>(last_time_ns - first_time_ns) / 1e9) << "\n";

  int plot_status = kExitOk;
  if (options.plot && traces.samples() != 0) {
    plot_status = write_plot(*options.plot, options.replace_plot, traces, camera, stats.samples_missed, console);
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
