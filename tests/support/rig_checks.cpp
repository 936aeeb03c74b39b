#include "support/rig_checks.h"

#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

#include "bridge/process_lock.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::test_support {

void expect_vendor_lock_free(const std::string& context) {
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread()) << context;
  if (detail::bridge::process_lock_held_by_this_thread()) {
    return;  // the check below would only find this thread's own hold
  }
  std::promise<void> taken;
  std::future<void> taken_signal = taken.get_future();
  std::thread other([&taken] {
    const win_detail::SonixGlobalLock lock;
    taken.set_value();
  });
  if (taken_signal.wait_for(kLockPatience) != std::future_status::ready) {
    std::fprintf(stderr, "FATAL: another thread could not take the vendor lock within %lld s (%s)\n",
                 static_cast<long long>(kLockPatience.count()), context.c_str());
    std::fflush(stderr);
    std::abort();
  }
  other.join();
}

void RigTest::TearDown() {
  EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
  EXPECT_EQ(rig_.open_sessions(), 0);
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
}

}  // namespace tovanel::uvc_stereo::test_support
