#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// One trace of a panel.
struct PlotSeries {
  std::string label;           ///< legend text, e.g. "x"
  std::string color;           ///< an SVG colour, e.g. "#d62728"
  std::vector<double> values;  ///< one value per time point
};

// One chart: a y axis in `unit` against the shared time axis.
struct PlotPanel {
  std::string title;
  std::string unit;
  std::vector<PlotSeries> series;
};

// Axis marks at "nice" values (1, 2 or 5 times a power of ten) covering [low, high],
// at most `max_ticks` of them; a flat range is widened so it still gets marks.
[[nodiscard]] std::vector<double> nice_ticks(double low, double high, int max_ticks);

// A self-contained SVG document: the panels stacked under `title`, each with axes, grid,
// tick labels and a legend, sharing the time axis `time_s`. Long traces are thinned to
// the minimum and maximum of each pixel column, so spikes survive and the file stays small.
// Each time of `missed_s` (where samples were missed) is marked across every panel by a dashed
// line of class "missed", one per pixel column, with a legend entry when there is any.
[[nodiscard]] std::string render_svg_plot(std::string_view title, const std::vector<double>& time_s,
                                          const std::vector<PlotPanel>& panels,
                                          const std::vector<double>& missed_s = {});

// `text` safe inside SVG text and attribute values.
[[nodiscard]] std::string xml_escape(std::string_view text);

}  // namespace tovanel::uvc_stereo::cli
