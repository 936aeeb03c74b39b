#include "uvc-stereo/sample_counter.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tovanel::uvc_stereo::cli {
namespace {

TEST(SampleCounterStep, IsOneFromOneSampleToTheNext) { EXPECT_EQ(sample_counter_step(41, 42), 1u); }

TEST(SampleCounterStep, IsZeroWhenTheSameSampleIsReadAgain) { EXPECT_EQ(sample_counter_step(0x12345, 0x12345), 0u); }

TEST(SampleCounterStep, CountsAcrossTheTwentyBitWrap) {
  EXPECT_EQ(sample_counter_step(0xFFFFF, 0), 1u);
  EXPECT_EQ(sample_counter_step(0xFFFFE, 3), 5u);
}

TEST(SampleCounterUnwrapper, StartsAtTheFirstRawCounter) {
  SampleCounterUnwrapper counter;
  const SampleCounterUnwrapper::Step first = counter.push(0x00ABC);
  EXPECT_EQ(first.counter, 0xABCu);
  EXPECT_EQ(first.missed, 0u);
  EXPECT_FALSE(first.repeated);
  EXPECT_EQ(counter.first_counter(), 0xABCu);
}

TEST(SampleCounterUnwrapper, KeepsCountingPastTheWrap) {
  SampleCounterUnwrapper counter;
  EXPECT_EQ(counter.push(0xFFFFE).counter, 0xFFFFEu);
  EXPECT_EQ(counter.push(0xFFFFF).counter, 0xFFFFFu);
  EXPECT_EQ(counter.push(0x00000).counter, 0x100000u);
  EXPECT_EQ(counter.push(0x00001).counter, 0x100001u);
  EXPECT_EQ(counter.missed(), 0u);
  EXPECT_EQ(counter.samples(), 4u);
}

TEST(SampleCounterUnwrapper, KeepsCountingThroughManyWraps) {
  SampleCounterUnwrapper counter;
  std::uint32_t raw = 0xF0000;
  counter.push(raw);
  for (int i = 0; i < 40; ++i) {
    raw = (raw + 0x40000) & 0xFFFFF;
    counter.push(raw);
  }
  EXPECT_EQ(counter.last_counter(), 0xF0000u + 40u * 0x40000u);
  EXPECT_EQ(counter.missed(), 40u * (0x40000u - 1u));
}

TEST(SampleCounterUnwrapper, CountsGapsInTheCounterAsMissedSamples) {
  SampleCounterUnwrapper counter;
  counter.push(10);
  EXPECT_EQ(counter.push(11).missed, 0u);
  EXPECT_EQ(counter.push(14).missed, 2u);
  EXPECT_EQ(counter.push(20).missed, 5u);
  EXPECT_EQ(counter.missed(), 7u);
  EXPECT_EQ(counter.last_counter(), 20u);
}

TEST(SampleCounterUnwrapper, CountsAGapThatSpansTheWrap) {
  SampleCounterUnwrapper counter;
  counter.push(0xFFFFD);
  const SampleCounterUnwrapper::Step step = counter.push(2);
  EXPECT_EQ(step.missed, 4u);  // 0xFFFFE, 0xFFFFF, 0 and 1 never arrived
  EXPECT_EQ(step.counter, 0x100002u);
}

TEST(SampleCounterUnwrapper, ARepeatedSampleIsNeitherMissedNorAdvanced) {
  SampleCounterUnwrapper counter;
  counter.push(7);
  const SampleCounterUnwrapper::Step again = counter.push(7);
  EXPECT_TRUE(again.repeated);
  EXPECT_EQ(again.counter, 7u);
  EXPECT_EQ(again.missed, 0u);
  EXPECT_EQ(counter.push(8).missed, 0u);
  EXPECT_EQ(counter.repeated(), 1u);
  EXPECT_EQ(counter.missed(), 0u);
}

TEST(SampleCounterUnwrapper, IgnoresBitsAboveTheTwentyTheCameraSends) {
  SampleCounterUnwrapper counter;
  counter.push(0xF00005);
  EXPECT_EQ(counter.push(0x000006).missed, 0u);
  EXPECT_EQ(counter.last_counter(), 6u);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
