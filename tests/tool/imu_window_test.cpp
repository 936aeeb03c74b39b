#include "uvc-stereo/imu_window.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

namespace tovanel::uvc_stereo::cli {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr std::uint64_t kMs = 1000000;

// A sample delivered by a read whose middle was at `read_ns`.
ImuStreamSample read_at(std::uint64_t read_ns) {
  ImuStreamSample sample;
  sample.read_time_ns = read_ns;
  return sample;
}

// A window of `seconds` opened by a first pull that delivered a sample read at `first_read_ns`.
ImuStreamWindow opened_at(double seconds, std::uint64_t first_read_ns) {
  ImuStreamWindow window(seconds);
  (void)window.next_timeout(milliseconds(50));
  const ImuStreamSample first = read_at(first_read_ns);
  window.on_pull(&first, 1, 1);
  return window;
}

TEST(ImuStreamWindow, WaitsAWholeSliceUntilTheFirstSampleOpensIt) {
  ImuStreamWindow window(0.01);
  EXPECT_EQ(window.next_timeout(milliseconds(50)), milliseconds(50));
  window.on_pull(nullptr, 0, 1);
  EXPECT_FALSE(window.over()) << "no sample yet: the window has not begun";
  EXPECT_EQ(window.elapsed_s(), 0.0);
}

TEST(ImuStreamWindow, PullsEndAtTheWindowsEndOnTheStreamsClock) {
  ImuStreamWindow window = opened_at(1.0, 7000 * kMs);
  EXPECT_EQ(window.next_timeout(milliseconds(50)), milliseconds(50)) << "the slice is shorter than what is left";
  const ImuStreamSample later = read_at(7980 * kMs);
  window.on_pull(&later, 1, 1);
  EXPECT_FALSE(window.over());
  EXPECT_EQ(window.next_timeout(milliseconds(50)), milliseconds(20)) << "what is left of the second";
  EXPECT_NEAR(window.elapsed_s(), 0.98, 1e-12);
}

TEST(ImuStreamWindow, ABoundedPullThatComesBackShortEndsTheWindow) {
  ImuStreamWindow window = opened_at(1.0, 7000 * kMs);
  const ImuStreamSample later = read_at(7990 * kMs);
  (void)window.next_timeout(milliseconds(50));
  window.on_pull(&later, 1, 1);
  ASSERT_EQ(window.next_timeout(milliseconds(50)), milliseconds(10));
  window.on_pull(nullptr, 0, 1);
  EXPECT_TRUE(window.over()) << "no read of the stream begins before the window's end";
}

TEST(ImuStreamWindow, AnUnboundedPullThatComesBackShortLeavesTheWindowOpen) {
  ImuStreamWindow window = opened_at(1.0, 7000 * kMs);
  ASSERT_EQ(window.next_timeout(milliseconds(50)), milliseconds(50));
  window.on_pull(nullptr, 0, 1);
  EXPECT_FALSE(window.over()) << "the slice ended, not the window";
}

TEST(ImuStreamWindow, ASampleReadAtTheWindowsEndEndsIt) {
  ImuStreamWindow window(0.5);
  const ImuStreamSample batch[3] = {read_at(100 * kMs), read_at(350 * kMs), read_at(600 * kMs)};
  (void)window.next_timeout(milliseconds(500));
  window.on_pull(batch, 3, 64);
  EXPECT_TRUE(window.over());
  EXPECT_NEAR(window.elapsed_s(), 0.5, 1e-12);
}

TEST(ImuStreamWindow, AFullBatchBoundedByTheWindowsEndLeavesItOpen) {
  ImuStreamWindow window = opened_at(1.0, 100 * kMs);
  ASSERT_EQ(window.next_timeout(milliseconds(1000)), milliseconds(1000));
  const ImuStreamSample batch[2] = {read_at(105 * kMs), read_at(110 * kMs)};
  window.on_pull(batch, 2, 2);
  EXPECT_FALSE(window.over()) << "a pull that got all it asked for says nothing of the window's end";
  EXPECT_EQ(window.next_timeout(milliseconds(1000)), milliseconds(990));
}

TEST(ImuStreamWindow, AWindowOfNoLengthEndsWithItsFirstSample) {
  ImuStreamWindow window(0.0);
  EXPECT_EQ(window.next_timeout(milliseconds(50)), milliseconds(50));
  const ImuStreamSample first = read_at(100 * kMs);
  window.on_pull(&first, 1, 1);
  EXPECT_TRUE(window.over());
  EXPECT_EQ(window.elapsed_s(), 0.0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
