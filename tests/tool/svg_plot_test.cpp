#include "uvc-stereo/svg_plot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tool/svg_check.h"
#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using tool_testing::count_of;

std::vector<PlotPanel> two_panels(std::size_t points, std::vector<double>& time_s) {
  std::vector<PlotPanel> panels(2);
  panels[0].title = "Accelerometer";
  panels[0].unit = "g";
  panels[1].title = "Gyroscope";
  panels[1].unit = "deg/s";
  const char* colors[3] = {"#d62728", "#2ca02c", "#1f77b4"};
  const char* names[3] = {"x", "y", "z"};
  for (int axis = 0; axis < 3; ++axis) {
    PlotSeries accel{names[axis], colors[axis], {}};
    PlotSeries gyro{names[axis], colors[axis], {}};
    for (std::size_t i = 0; i < points; ++i) {
      accel.values.push_back(std::sin(0.01 * static_cast<double>(i) + axis));
      gyro.values.push_back(50.0 * std::cos(0.01 * static_cast<double>(i) + axis));
    }
    panels[0].series.push_back(accel);
    panels[1].series.push_back(gyro);
  }
  time_s.clear();
  for (std::size_t i = 0; i < points; ++i) {
    time_s.push_back(0.005 * static_cast<double>(i));
  }
  return panels;
}

TEST(NiceTicks, FallOnOneTwoOrFiveTimesAPowerOfTen) {
  EXPECT_EQ(nice_ticks(0.0, 1.0, 11), (std::vector<double>{0.0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0}));
  EXPECT_EQ(nice_ticks(-0.3, 1.2, 7), (std::vector<double>{-0.5, 0.0, 0.5, 1.0, 1.5}));
  EXPECT_EQ(nice_ticks(-62.0, 63.0, 7), (std::vector<double>{-100.0, -50.0, 0.0, 50.0, 100.0}));
}

TEST(NiceTicks, CoverTheWholeRange) {
  for (const auto& [low, high] : std::vector<std::pair<double, double>>{{0.93, 1.004}, {-0.12, 0.12}, {3.0, 7.0}}) {
    const std::vector<double> ticks = nice_ticks(low, high, 7);
    ASSERT_GE(ticks.size(), 2u);
    EXPECT_LE(ticks.front(), low);
    EXPECT_GE(ticks.back(), high);
    EXPECT_LE(ticks.size(), 8u);
  }
}

TEST(NiceTicks, WidenAFlatRange) {
  const std::vector<double> ticks = nice_ticks(1.0, 1.0, 7);
  ASSERT_GE(ticks.size(), 2u);
  EXPECT_LT(ticks.front(), 1.0);
  EXPECT_GT(ticks.back(), 1.0);
}

TEST(SvgPlot, IsAWellFormedDocumentWithOneTracePerSeries) {
  std::vector<double> time_s;
  const std::string svg = render_svg_plot("IMU of camera 0", time_s, two_panels(200, time_s));
  EXPECT_EQ(tool_testing::svg_problem(svg), "");
  EXPECT_EQ(count_of(svg, "<polyline"), 6u);
  EXPECT_NE(svg.find(">Accelerometer</text>"), std::string::npos);
  EXPECT_NE(svg.find(">Gyroscope</text>"), std::string::npos);
  EXPECT_NE(svg.find(">time (s)</text>"), std::string::npos);
  EXPECT_NE(svg.find(">IMU of camera 0</text>"), std::string::npos);
  EXPECT_EQ(count_of(svg, ">x</text>"), 2u);  // one legend entry per panel
}

TEST(SvgPlot, MarksWhereSamplesWereMissedInEveryPanel) {
  std::vector<double> time_s;
  const std::vector<PlotPanel> panels = two_panels(200, time_s);
  const std::string svg = render_svg_plot("t", time_s, panels, {time_s[50], time_s[120]});
  EXPECT_EQ(tool_testing::svg_problem(svg), "");
  // Two marks in each of the two panels, and a legend entry in each.
  EXPECT_EQ(count_of(svg, "class=\"missed\""), 6u);
  EXPECT_EQ(count_of(svg, ">missed</text>"), 2u);
}

TEST(SvgPlot, HasNoMissedMarksOrLegendWithoutGaps) {
  std::vector<double> time_s;
  const std::string svg = render_svg_plot("t", time_s, two_panels(200, time_s));
  EXPECT_EQ(count_of(svg, "class=\"missed\""), 0u);
  EXPECT_EQ(count_of(svg, ">missed</text>"), 0u);
}

TEST(SvgPlot, DrawsOneMissedMarkPerPixelColumn) {
  std::vector<double> time_s;
  const std::vector<PlotPanel> panels = two_panels(200, time_s);
  // Ten gaps a microsecond apart fall in one pixel column.
  std::vector<double> missed;
  for (int i = 0; i < 10; ++i) {
    missed.push_back(time_s[100] + i * 1e-6);
  }
  const std::string svg = render_svg_plot("t", time_s, panels, missed);
  EXPECT_EQ(count_of(svg, "class=\"missed\""), 4u);  // a mark and a legend entry per panel
}

TEST(SvgPlot, DrawsEveryPointOfAShortTrace) {
  std::vector<double> time_s;
  const std::string svg = render_svg_plot("t", time_s, two_panels(200, time_s));
  const std::size_t start = svg.find("points=\"");
  const std::size_t end = svg.find('"', start + 8);
  EXPECT_EQ(count_of(svg.substr(start, end - start), ","), 200u);
}

// The y coordinates of the first trace of a plot.
std::vector<double> first_trace_ys(const std::string& svg) {
  const std::size_t start = svg.find("points=\"") + 8;
  const std::size_t end = svg.find('"', start);
  std::vector<double> ys;
  for (std::size_t comma = svg.find(',', start); comma < end; comma = svg.find(',', comma + 1)) {
    ys.push_back(std::stod(svg.substr(comma + 1)));
  }
  return ys;
}

// The y coordinate of the grid line labelled `label` (its text sits 4 pixels lower).
double tick_y(const std::string& svg, const std::string& label) {
  const std::size_t text = svg.rfind("<text", svg.find(">" + label + "</text>"));
  const std::size_t y = svg.find("y=\"", text) + 3;
  return std::stod(svg.substr(y)) - 4.0;
}

TEST(SvgPlot, ThinsALongTraceButKeepsItsSpike) {
  std::vector<double> time_s;
  std::vector<PlotPanel> panels = two_panels(100000, time_s);
  panels[0].series[0].values[54321] = 40.0;  // one spike far above the rest
  const std::string svg = render_svg_plot("t", time_s, panels);
  EXPECT_EQ(tool_testing::svg_problem(svg), "");
  EXPECT_LT(svg.size(), 600000u);
  const std::vector<double> ys = first_trace_ys(svg);
  EXPECT_LT(ys.size(), 5000u);
  ASSERT_FALSE(ys.empty());
  // The spike sets the top of the axis, and the thinned trace still reaches it.
  EXPECT_DOUBLE_EQ(*std::min_element(ys.begin(), ys.end()), tick_y(svg, "40"));
}

TEST(SvgPlot, EscapesTextThatWouldBreakTheMarkup) {
  std::vector<double> time_s;
  const std::string svg = render_svg_plot("serial <A&B>", time_s, two_panels(3, time_s));
  EXPECT_EQ(tool_testing::svg_problem(svg), "");
  EXPECT_NE(svg.find("serial &lt;A&amp;B&gt;"), std::string::npos);
}

TEST(SvgPlot, ASingleSampleStillGivesAValidPlot) {
  std::vector<double> time_s;
  const std::string svg = render_svg_plot("t", time_s, two_panels(1, time_s));
  EXPECT_EQ(tool_testing::svg_problem(svg), "");
  EXPECT_EQ(svg.find("nan"), std::string::npos);
  EXPECT_EQ(svg.find("inf"), std::string::npos);
}

TEST(XmlEscape, ReplacesTheFiveMarkupCharacters) {
  EXPECT_EQ(xml_escape("<a href=\"x\">'&'</a>"), "&lt;a href=&quot;x&quot;&gt;&apos;&amp;&apos;&lt;/a&gt;");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
