#include "uvc-stereo/trace_envelope.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace tovanel::uvc_stereo::cli {
namespace {

constexpr std::size_t kPlotChannels = 6;
constexpr std::size_t kPlotBuckets = 2048;

TEST(TraceEnvelope, AShortStreamIsKeptExactly) {
  TraceEnvelope envelope(2, 8);
  for (int i = 0; i < 8; ++i) {
    const double values[2] = {i * 1.5, -i * 1.0};
    envelope.add(i * 0.01, values);
  }
  const TraceEnvelope::Points points = envelope.points();
  ASSERT_EQ(points.time_s.size(), 8u);
  ASSERT_EQ(points.values.size(), 2u);
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_DOUBLE_EQ(points.time_s[i], static_cast<double>(i) * 0.01);
    EXPECT_DOUBLE_EQ(points.values[0][i], static_cast<double>(i) * 1.5);
    EXPECT_DOUBLE_EQ(points.values[1][i], -static_cast<double>(i));
  }
  EXPECT_EQ(envelope.samples_per_bucket(), 1u);
}

TEST(TraceEnvelope, KeepsWhereSamplesWereMissedInAShortStream) {
  TraceEnvelope envelope(1, 16);
  for (int i = 0; i < 10; ++i) {
    const double value = i;
    envelope.add(i * 0.01, &value, i == 3 || i == 7 ? 2 : 0);
  }
  const std::vector<double> missed = envelope.points().missed_s;
  ASSERT_EQ(missed.size(), 2u);
  EXPECT_DOUBLE_EQ(missed[0], 0.03);
  EXPECT_DOUBLE_EQ(missed[1], 0.07);
}

TEST(TraceEnvelope, MergedRunsKeepTheirFirstMissedMark) {
  TraceEnvelope envelope(1, 4);
  // 16 samples in 4 runs of 4 after two merges; gaps before samples 1, 2 and 13.
  for (int i = 0; i < 16; ++i) {
    const double value = i;
    envelope.add(i * 1.0, &value, i == 1 || i == 2 || i == 13 ? 1 : 0);
  }
  EXPECT_EQ(envelope.samples_per_bucket(), 4u);
  const std::vector<double> missed = envelope.points().missed_s;
  ASSERT_EQ(missed.size(), 2u);
  EXPECT_DOUBLE_EQ(missed[0], 1.0);
  EXPECT_DOUBLE_EQ(missed[1], 13.0);
}

TEST(TraceEnvelope, AStreamWithoutGapsHasNoMissedMarks) {
  TraceEnvelope envelope(1, 4);
  for (int i = 0; i < 100; ++i) {
    const double value = i;
    envelope.add(i * 1.0, &value);
  }
  EXPECT_TRUE(envelope.points().missed_s.empty());
}

// The same runs computed directly from all the samples, to check the merging against.
TEST(TraceEnvelope, MergedRunsHoldTheEndsAndExtremesOfTheirSamplesInOrder) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> noise(-1.0, 1.0);
  std::vector<double> samples;
  TraceEnvelope envelope(1, 8);
  for (int i = 0; i < 100; ++i) {
    samples.push_back(noise(random));
    envelope.add(i, &samples.back());
  }
  // 100 samples in at most 8 runs: 16 per run, the last one partly filled.
  ASSERT_EQ(envelope.samples_per_bucket(), 16u);
  std::vector<double> expected_times;
  std::vector<double> expected_values;
  for (std::size_t begin = 0; begin < samples.size(); begin += 16) {
    const std::size_t end = std::min(samples.size(), begin + 16);
    const auto low =
        std::min_element(samples.begin() + static_cast<long>(begin), samples.begin() + static_cast<long>(end));
    const auto high =
        std::max_element(samples.begin() + static_cast<long>(begin), samples.begin() + static_cast<long>(end));
    const double first_time = static_cast<double>(begin);
    const double last_time = static_cast<double>(end - 1);
    expected_times.push_back(first_time);
    expected_values.push_back(samples[begin]);
    if (end - begin >= 3) {
      expected_times.push_back(first_time + (last_time - first_time) / 3.0);
      expected_times.push_back(first_time + (last_time - first_time) * 2.0 / 3.0);
      expected_values.push_back(low < high ? *low : *high);
      expected_values.push_back(low < high ? *high : *low);
    }
    if (end - begin >= 2) {
      expected_times.push_back(last_time);
      expected_values.push_back(samples[end - 1]);
    }
  }
  const TraceEnvelope::Points points = envelope.points();
  EXPECT_EQ(points.time_s, expected_times);
  EXPECT_EQ(points.values[0], expected_values);
}

TEST(TraceEnvelope, SpikesSurviveALongStream) {
  TraceEnvelope envelope(kPlotChannels, kPlotBuckets);
  constexpr int kSamples = 1000000;
  for (int i = 0; i < kSamples; ++i) {
    double values[kPlotChannels] = {0.0, 0.0, 1.0, 0.5, -0.5, 0.0};
    if (i == 777777) {
      values[0] = 16.0;
      values[5] = -2000.0;
    }
    envelope.add(i / 1000.0, values);
  }
  const TraceEnvelope::Points points = envelope.points();
  EXPECT_EQ(*std::max_element(points.values[0].begin(), points.values[0].end()), 16.0);
  EXPECT_EQ(*std::min_element(points.values[5].begin(), points.values[5].end()), -2000.0);
  EXPECT_EQ(*std::min_element(points.values[2].begin(), points.values[2].end()), 1.0);
  EXPECT_EQ(points.time_s.front(), 0.0);
  EXPECT_EQ(points.time_s.back(), (kSamples - 1) / 1000.0);
  EXPECT_TRUE(std::is_sorted(points.time_s.begin(), points.time_s.end()));
  EXPECT_LE(points.time_s.size(), 4 * kPlotBuckets);
}

// A day at 1 kHz is 86.4 million samples; what the plot keeps for them must stay fixed and small.
TEST(TraceEnvelope, ADayAtOneKilohertzFitsInAFixedFewMegabytes) {
  TraceEnvelope envelope(kPlotChannels, kPlotBuckets);
  const std::size_t before = envelope.memory_bytes();
  constexpr std::uint64_t kSamples = 86400ULL * 1000ULL;
  double values[kPlotChannels] = {0.0, 0.0, 1.0, 0.0, 0.0, 0.0};
  for (std::uint64_t i = 0; i < kSamples; ++i) {
    values[0] = static_cast<double>(i % 1000) * 1e-3;
    envelope.add(static_cast<double>(i) * 1e-3, values);
  }
  EXPECT_EQ(envelope.samples(), kSamples);
  EXPECT_EQ(envelope.memory_bytes(), before);
  EXPECT_LT(envelope.memory_bytes(), 16u * 1024u * 1024u);
  const TraceEnvelope::Points points = envelope.points();
  EXPECT_LE(points.time_s.size(), 4 * kPlotBuckets);
  EXPECT_DOUBLE_EQ(points.time_s.back(), static_cast<double>(kSamples - 1) * 1e-3);
  EXPECT_DOUBLE_EQ(*std::max_element(points.values[0].begin(), points.values[0].end()), 0.999);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
