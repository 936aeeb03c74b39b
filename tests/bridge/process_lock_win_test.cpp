#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

#include "bridge/process_lock.h"
#include "uvc_stereo/vendor_lock.h"

// The global lock as a Win32 critical section: recursive for its owner, and held by the
// owner until the last of its nested holds is let go.
namespace tovanel::uvc_stereo::win_detail {
namespace {

TEST(SonixGlobalLockOnWindows, TheOwnerReentersItAndKeepsItUntilTheLastHoldEnds) {
  std::optional<SonixGlobalLock> outer(std::in_place);
  std::optional<SonixGlobalLock> middle(std::in_place);
  std::optional<SonixGlobalLock> inner(std::in_place);
  std::atomic<bool> waiting{false};
  std::atomic<bool> entered{false};
  std::atomic<int> holds_left{3};
  int holds_left_when_entered = -1;
  std::thread other([&] {
    waiting = true;
    const SonixGlobalLock lock;
    holds_left_when_entered = holds_left.load();
    entered = true;
  });
  while (!waiting) {
    std::this_thread::yield();
  }
  inner.reset();
  holds_left = 2;
  middle.reset();
  holds_left = 1;
  // Time only lets a broken lock show itself; the verdict is what the other thread saw.
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_FALSE(entered.load()) << "one of three holds is still there";
  EXPECT_TRUE(detail::bridge::process_lock_held_by_this_thread());
  holds_left = 0;
  outer.reset();
  other.join();
  EXPECT_TRUE(entered.load());
  EXPECT_EQ(holds_left_when_entered, 0);
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
