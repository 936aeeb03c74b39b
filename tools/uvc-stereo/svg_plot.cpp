#include "uvc-stereo/svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <sstream>

namespace tovanel::uvc_stereo::cli {
namespace {

constexpr double kWidth = 960.0;
constexpr double kTitleHeight = 44.0;
constexpr double kPanelHeight = 250.0;
constexpr double kPanelGap = 58.0;
constexpr double kLeft = 78.0;
constexpr double kRight = 130.0;
constexpr double kBottom = 20.0;
constexpr int kMaxYTicks = 7;
constexpr int kMaxXTicks = 11;
// Beyond this many points per trace, each pixel column keeps only its ends and extremes.
constexpr std::size_t kMaxPointsPerTrace = 2000;
// Marks where samples were missed: a colour none of the traces use.
constexpr const char* kMissedColor = "#ff7f0e";

std::string fixed(double value, int decimals) {
  // A value that rounds to zero is written "0", never "-0.0".
  if (std::fabs(value) < 0.5 * std::pow(10.0, -decimals)) {
    value = 0.0;
  }
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), "%.*f", decimals, value);
  return buffer;
}

int decimals_for_step(double step) {
  if (step <= 0.0 || !std::isfinite(step)) {
    return 0;
  }
  const int decimals = static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
  return std::clamp(decimals, 0, 9);
}

struct Range {
  double low = 0.0;
  double high = 1.0;
};

Range padded_range(const PlotPanel& panel) {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  for (const PlotSeries& series : panel.series) {
    for (double value : series.values) {
      if (std::isfinite(value)) {
        low = std::min(low, value);
        high = std::max(high, value);
      }
    }
  }
  if (!std::isfinite(low)) {
    return Range{-1.0, 1.0};
  }
  const std::vector<double> ticks = nice_ticks(low, high, kMaxYTicks);
  return Range{std::min(low, ticks.front()), std::max(high, ticks.back())};
}

// Indices of the points drawn for a trace: all of them when there are few; otherwise, for
// each run of points in one pixel column, its first, lowest, highest and last point.
std::vector<std::size_t> thinned_indices(const std::vector<double>& values, const std::vector<double>& x_pixels,
                                         std::size_t count) {
  std::vector<std::size_t> indices;
  if (count <= kMaxPointsPerTrace) {
    for (std::size_t i = 0; i < count; ++i) {
      indices.push_back(i);
    }
    return indices;
  }
  std::size_t begin = 0;
  while (begin < count) {
    const double column = std::floor(x_pixels[begin]);
    std::size_t end = begin + 1;
    std::size_t low = begin;
    std::size_t high = begin;
    for (; end < count && std::floor(x_pixels[end]) == column; ++end) {
      low = values[end] < values[low] ? end : low;
      high = values[end] > values[high] ? end : high;
    }
    std::size_t kept[4] = {begin, std::min(low, high), std::max(low, high), end - 1};
    for (std::size_t k = 0; k < 4; ++k) {
      if (indices.empty() || kept[k] > indices.back()) {
        indices.push_back(kept[k]);
      }
    }
    begin = end;
  }
  return indices;
}

class SvgBuilder {
 public:
  SvgBuilder(double width, double height) {
    out_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
         << "\" viewBox=\"0 0 " << width << " " << height << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
         << "<rect x=\"0\" y=\"0\" width=\"" << width << "\" height=\"" << height << "\" fill=\"#ffffff\"/>\n";
  }

  void line(double x1, double y1, double x2, double y2, std::string_view stroke, double width = 1.0) {
    out_ << "<line x1=\"" << fixed(x1, 1) << "\" y1=\"" << fixed(y1, 1) << "\" x2=\"" << fixed(x2, 1) << "\" y2=\""
         << fixed(y2, 1) << "\" stroke=\"" << xml_escape(stroke) << "\" stroke-width=\"" << width << "\"/>\n";
  }

  // A mark where samples were missed: dashed, so it is not taken for a trace or the grid.
  void missed_mark(double x, double y1, double y2) {
    out_ << "<line class=\"missed\" x1=\"" << fixed(x, 1) << "\" y1=\"" << fixed(y1, 1) << "\" x2=\"" << fixed(x, 1)
         << "\" y2=\"" << fixed(y2, 1) << "\" stroke=\"" << kMissedColor
         << "\" stroke-width=\"1\" stroke-dasharray=\"3 2\"/>\n";
  }

  void text(double x, double y, std::string_view content, std::string_view anchor, std::string_view extra = "") {
    out_ << "<text x=\"" << fixed(x, 1) << "\" y=\"" << fixed(y, 1) << "\" text-anchor=\"" << anchor << "\"";
    if (!extra.empty()) {
      out_ << " " << extra;
    }
    out_ << ">" << xml_escape(content) << "</text>\n";
  }

  void polyline(const std::vector<std::pair<double, double>>& points, std::string_view stroke) {
    out_ << "<polyline fill=\"none\" stroke=\"" << xml_escape(stroke)
         << "\" stroke-width=\"1.2\" stroke-linejoin=\"round\" points=\"";
    for (std::size_t i = 0; i < points.size(); ++i) {
      out_ << (i == 0 ? "" : " ") << fixed(points[i].first, 1) << "," << fixed(points[i].second, 1);
    }
    out_ << "\"/>\n";
  }

  void raw(std::string_view element) { out_ << element << "\n"; }

  std::string finish() {
    out_ << "</svg>\n";
    return out_.str();
  }

 private:
  std::ostringstream out_;
};

}  // namespace

std::string xml_escape(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&apos;";
        break;
      default:
        // Control bytes are not allowed in XML 1.0 text at all.
        escaped += (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') ? ' ' : c;
    }
  }
  return escaped;
}

std::vector<double> nice_ticks(double low, double high, int max_ticks) {
  if (!std::isfinite(low) || !std::isfinite(high)) {
    return {0.0};
  }
  if (high < low) {
    std::swap(low, high);
  }
  if (high - low < 1e-12) {
    const double half = std::max(std::fabs(low) * 0.1, 1e-3);
    low -= half;
    high += half;
  }
  max_ticks = std::max(max_ticks, 2);
  const double raw_step = (high - low) / (max_ticks - 1);
  const int exponent = static_cast<int>(std::floor(std::log10(raw_step)));
  const double magnitude = std::pow(10.0, exponent);
  double factor = 10.0;
  for (double candidate : {1.0, 2.0, 5.0, 10.0}) {
    if (magnitude * candidate >= raw_step) {
      factor = candidate;
      break;
    }
  }
  const double step = factor * magnitude;
  const auto first = static_cast<long long>(std::floor(low / step + 1e-9));
  const auto last = static_cast<long long>(std::ceil(high / step - 1e-9));
  // Each mark is built as a whole number of units scaled once, dividing for negative
  // powers of ten, so 0.3 comes out as the double nearest 0.3 and prints as such.
  const double scale = std::pow(10.0, std::abs(exponent));
  std::vector<double> ticks;
  for (long long k = first; k <= last; ++k) {
    const double units = static_cast<double>(k) * factor;
    ticks.push_back(exponent < 0 ? units / scale : units * scale);
  }
  return ticks;
}

std::string render_svg_plot(std::string_view title, const std::vector<double>& time_s,
                            const std::vector<PlotPanel>& panels, const std::vector<double>& missed_s) {
  const double height =
      kTitleHeight + static_cast<double>(panels.size()) * (kPanelHeight + kPanelGap) + kBottom - kPanelGap + 40.0;
  SvgBuilder svg(kWidth, height);
  svg.text(kWidth / 2, 28, title, "middle", "font-size=\"16\" font-weight=\"bold\"");

  const double t_end = time_s.empty() ? 1.0 : std::max(time_s.back(), 1e-6);
  const std::vector<double> x_ticks = nice_ticks(0.0, t_end, kMaxXTicks);
  const double x_high = std::max(t_end, x_ticks.back());
  const double plot_width = kWidth - kLeft - kRight;
  const auto x_of = [&](double t) { return kLeft + t / x_high * plot_width; };
  const int x_decimals = decimals_for_step(x_ticks.size() > 1 ? x_ticks[1] - x_ticks[0] : 1.0);

  for (std::size_t p = 0; p < panels.size(); ++p) {
    const PlotPanel& panel = panels[p];
    const double top = kTitleHeight + 20.0 + static_cast<double>(p) * (kPanelHeight + kPanelGap);
    const double bottom = top + kPanelHeight;
    const Range range = padded_range(panel);
    const std::vector<double> y_ticks = nice_ticks(range.low, range.high, kMaxYTicks);
    const double y_low = std::min(range.low, y_ticks.front());
    const double y_high = std::max(range.high, y_ticks.back());
    const auto y_of = [&](double v) { return bottom - (v - y_low) / (y_high - y_low) * kPanelHeight; };
    const int y_decimals = decimals_for_step(y_ticks.size() > 1 ? y_ticks[1] - y_ticks[0] : 1.0);

    svg.text(kLeft, top - 8, panel.title, "start", "font-size=\"13\" font-weight=\"bold\"");
    for (double tick : y_ticks) {
      const double y = y_of(tick);
      svg.line(kLeft, y, kLeft + plot_width, y, tick == 0.0 ? "#9a9a9a" : "#e3e3e3");
      svg.text(kLeft - 6, y + 4, fixed(tick, y_decimals), "end");
    }
    for (double tick : x_ticks) {
      const double x = x_of(tick);
      svg.line(x, top, x, bottom, "#eeeeee");
      svg.line(x, bottom, x, bottom + 4, "#000000");
      svg.text(x, bottom + 17, fixed(tick, x_decimals), "middle");
    }
    svg.line(kLeft, top, kLeft, bottom, "#000000");
    svg.line(kLeft, bottom, kLeft + plot_width, bottom, "#000000");
    svg.text(kLeft + plot_width / 2, bottom + 34, "time (s)", "middle");
    char transform[96];
    std::snprintf(transform, sizeof(transform), "transform=\"rotate(-90 %.1f %.1f)\"", 18.0, top + kPanelHeight / 2);
    svg.text(18.0, top + kPanelHeight / 2, panel.unit, "middle", transform);

    // Marks under the traces, one per pixel column: thousands of gaps in a long stream still
    // make a readable plot and a small file.
    long long last_column = -1;
    for (double t : missed_s) {
      const double x = x_of(std::clamp(t, 0.0, x_high));
      if (const auto column = static_cast<long long>(x); column != last_column) {
        svg.missed_mark(x, top, bottom);
        last_column = column;
      }
    }

    double legend_y = top + 14;
    for (const PlotSeries& series : panel.series) {
      const std::size_t count = std::min(series.values.size(), time_s.size());
      std::vector<double> x_pixels(count);
      for (std::size_t i = 0; i < count; ++i) {
        x_pixels[i] = x_of(time_s[i]);
      }
      std::vector<std::pair<double, double>> points;
      for (std::size_t i : thinned_indices(series.values, x_pixels, count)) {
        if (std::isfinite(series.values[i])) {
          points.emplace_back(x_of(time_s[i]), y_of(series.values[i]));
        }
      }
      svg.polyline(points, series.color);
      const double legend_x = kLeft + plot_width + 16;
      svg.line(legend_x, legend_y - 4, legend_x + 22, legend_y - 4, series.color, 2.5);
      svg.text(legend_x + 28, legend_y, series.label, "start");
      legend_y += 18;
    }
    if (!missed_s.empty()) {
      const double legend_x = kLeft + plot_width + 16;
      svg.missed_mark(legend_x + 11, legend_y - 11, legend_y + 3);
      svg.text(legend_x + 28, legend_y, "missed", "start");
    }
  }
  return svg.finish();
}

}  // namespace tovanel::uvc_stereo::cli
