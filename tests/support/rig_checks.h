#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"
#include "bridge/process_lock.h"

// Checks that every operation must leave behind, whatever happened inside it: the vendor lock free for this and for
// any other thread, and each library session it opened closed again. Shared by the fault sweeps and the stress test.
namespace tovanel::uvc_stereo::rig_checks {

// How long another thread may wait for the vendor lock before it counts as left held. A held lock would block every
// later operation of the process, so the test program is stopped rather than left hanging.
inline constexpr std::chrono::seconds kLockPatience{20};

// Fails the test when this thread still holds the vendor lock, and stops the program when another thread cannot take
// it within kLockPatience.
inline void expect_vendor_lock_free(const std::string& context = std::string()) {
  EXPECT_FALSE(vendor::process_lock_held_by_this_thread()) << context;
  if (vendor::process_lock_held_by_this_thread()) {
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

// Library sessions that the calls opened and did not close: successful SonixCam_Init calls minus SonixCam_UnInit
// calls (a failed UnInit still counts as the caller's attempt to close).
inline long session_balance(const std::vector<sim::VendorCall>& calls) {
  long balance = 0;
  for (const sim::VendorCall& call : calls) {
    if (call.name == "SonixCam_Init" && call.succeeded) {
      ++balance;
    } else if (call.name == "SonixCam_UnInit") {
      --balance;
    }
  }
  return balance;
}

// Names of the calls made without the vendor lock held by the calling thread.
inline std::vector<std::string> calls_without_lock(const std::vector<sim::VendorCall>& calls) {
  std::vector<std::string> names;
  for (const sim::VendorCall& call : calls) {
    if (!call.lock_held) {
      names.push_back(call.name);
    }
  }
  return names;
}

inline std::size_t count_calls(const std::vector<sim::VendorCall>& calls, const std::string& name) {
  std::size_t count = 0;
  for (const sim::VendorCall& call : calls) {
    count += call.name == name ? 1 : 0;
  }
  return count;
}

}  // namespace tovanel::uvc_stereo::rig_checks
