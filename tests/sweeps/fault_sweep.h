#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/call_views.h"
#include "support/rig_checks.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/simulated_rig.h"

// The fault sweep: an operation is run once on a healthy rig to learn its vendor calls, then once more for every call
// of that sequence and every vendor code of interest, with exactly that call made to fail. Each run must end with the
// status the rules give for that failure, no broken rig rule, every session it opened closed and the vendor lock free.
namespace tovanel::uvc_stereo::sweeps {

// One vendor call of an operation's healthy sequence, as a place to make it fail.
struct FailurePoint {
  std::size_t position = 0;      ///< index in the operation's calls
  sim::VendorCall call;          ///< the call as the healthy run made it
  std::uint32_t occurrence = 1;  ///< 1 for the first call of this name in the operation, 2 for the second, ...
  int session = 0;               ///< which library session of the operation it belongs to, counted from 0
};

// How the library fails: the code it then reports, and whether asking for that code fails as well.
struct VendorFailure {
  std::int32_t code = 0;
  bool query_fails = false;
};

// The codes every call is failed with: no device, a disconnect, a transfer time-out, codes the library does not
// define, and a failure whose code cannot even be asked for.
inline const std::vector<VendorFailure>& sweep_failures() {
  static const std::vector<VendorFailure> failures = {{4, false},  {7, false},  {8, false},
                                                      {99, false}, {-1, false}, {7, true}};
  return failures;
}

// The library's name for a code as failure messages show it, with the number; written out here rather than taken
// from the SDK so that the SDK's table is checked against a second reading.
inline std::string vendor_code_text(const VendorFailure& failure) {
  if (failure.query_fails) {
    return "ecUnknow(0)";
  }
  static const std::map<std::int32_t, std::string> names = {{0, "ecUnknow"},           {4, "ecNotFindDevice"},
                                                            {7, "ecDeviceDisconnect"}, {8, "ecSyncTransTimeOut"},
                                                            {10, "ecSectorEraseFail"}, {12, "ecWriteFlashFail"}};
  const auto found = names.find(failure.code);
  const std::string name = found != names.end() ? found->second : "unknown";
  return name + "(" + std::to_string(failure.code) + ")";
}

inline std::string vendor_message(const std::string& call, const VendorFailure& failure) {
  return call + " failed: vendor_code=" + vendor_code_text(failure);
}

// A failed flash read, write or erase names where it happened.
inline std::string flash_access_message(const std::string& call, const VendorFailure& failure, std::uint32_t address,
                                        std::uint64_t length) {
  char where[96];
  std::snprintf(where, sizeof(where), " (address=0x%08X, length=%llu)", static_cast<unsigned>(address),
                static_cast<unsigned long long>(length));
  return vendor_message(call, failure) + where;
}

// Every call of a healthy sequence as a failure point.
inline std::vector<FailurePoint> failure_points(const std::vector<sim::VendorCall>& calls) {
  std::vector<FailurePoint> points;
  std::map<std::string, std::uint32_t> seen;
  int session = -1;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].name == "SonixCam_Init") {
      ++session;
    }
    FailurePoint point;
    point.position = i;
    point.call = calls[i];
    point.occurrence = ++seen[calls[i].name];
    point.session = session < 0 ? 0 : session;
    points.push_back(point);
  }
  return points;
}

// What an operation must end with.
struct Expectation {
  Status status;
  int sessions_left_open = 0;  ///< 1 while an IMU reader legitimately keeps its session
};

// One public operation in its surroundings, run afresh on a new rig for every case.
class Scenario {
 public:
  Scenario() = default;
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;
  virtual ~Scenario() = default;

  [[nodiscard]] virtual std::string name() const = 0;
  // Plugs the cameras into a new rig and fills their flash.
  virtual void plug(sim::SimulatedRig& rig) = 0;
  // What has happened before the operation (a scan, an opened device, an open IMU); its calls are not swept.
  virtual void prepare(sim::SimulatedRig& /*rig*/) {}
  // The operation under test.
  [[nodiscard]] virtual Status run() = 0;
  // What the operation must return when `point` fails with `failure`; no point for the healthy run.
  [[nodiscard]] virtual Expectation expect(const FailurePoint* point, const VendorFailure& failure) = 0;
  // Checks of the healthy run's calls and their arguments.
  virtual void check_healthy_calls(const std::vector<sim::VendorCall>& /*calls*/) {}
  // Checks of what the operation produced or left (results, flash contents, later operations); faults are cleared.
  virtual void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* /*point*/,
                           const VendorFailure& /*failure*/) {}
  // Lets go of everything the case made (devices, readers) while its rig still exists.
  virtual void release() {}
};

// Cases run by every sweep of the program, for the report at its end.
inline std::atomic<std::size_t>& cases_run() {
  static std::atomic<std::size_t> count{0};
  return count;
}

inline void count_cases(std::size_t cases) { cases_run() += cases; }

inline std::string describe(const Scenario& scenario, const FailurePoint* point, const VendorFailure& failure) {
  if (point == nullptr) {
    return scenario.name() + ": healthy run";
  }
  return scenario.name() + ": call " + std::to_string(point->position) + " " + point->call.name + " (occurrence " +
         std::to_string(point->occurrence) + ", session " + std::to_string(point->session) + ") failing with " +
         vendor_code_text(failure) + (failure.query_fails ? " (error query fails)" : "");
}

// Runs one case and returns the operation's calls.
inline std::vector<sim::VendorCall> run_case(Scenario& scenario, const FailurePoint* point,
                                             const VendorFailure& failure) {
  const std::string context = describe(scenario, point, failure);
  SCOPED_TRACE(context);
  sim::SimulatedRig rig;
  scenario.plug(rig);
  scenario.prepare(rig);
  // The preparation's calls are kept aside, so that sessions it opened (an IMU reader's) are counted too.
  std::vector<sim::VendorCall> everything = rig.calls();
  const long open_before = test_support::session_balance(everything);
  rig.clear_calls();
  if (point != nullptr) {
    sim::VendorFault fault;
    fault.call = point->call.name;
    fault.nth = point->occurrence;
    fault.times = 1;
    fault.vendor_code = failure.code;
    fault.error_code_query_fails = failure.query_fails;
    rig.add_fault(fault);
  }

  const Status got = scenario.run();
  const std::vector<sim::VendorCall> calls = rig.calls();
  rig.clear_faults();

  const Expectation want = scenario.expect(point, failure);
  EXPECT_EQ(got.code(), want.status.code()) << got.message();
  EXPECT_EQ(got.message(), want.status.message());
  if (point != nullptr) {
    // The fault hit the call it was meant for, so the case is not a healthy run in disguise.
    EXPECT_LT(point->position, calls.size());
    if (point->position < calls.size()) {
      EXPECT_EQ(calls[point->position].name, point->call.name);
      EXPECT_FALSE(calls[point->position].succeeded);
    }
  }
  EXPECT_EQ(test_support::calls_without_lock(calls), std::vector<std::string>{});
  EXPECT_EQ(rig.violations(), std::vector<std::string>{});
  EXPECT_EQ(open_before + test_support::session_balance(calls), want.sessions_left_open);
  // The rig keeps a session whose UnInit failed; what the SDK owes is the one UnInit call, counted above.
  EXPECT_EQ(rig.open_sessions(), want.sessions_left_open + static_cast<int>(test_support::failed_uninits(calls)));
  test_support::expect_vendor_lock_free(context);

  scenario.check_after(rig, point, failure);
  scenario.release();
  const std::vector<sim::VendorCall> later = rig.calls();
  everything.insert(everything.end(), later.begin(), later.end());
  EXPECT_EQ(test_support::session_balance(everything), 0) << "after release";
  EXPECT_EQ(rig.open_sessions(), static_cast<int>(test_support::failed_uninits(everything))) << "after release";
  EXPECT_EQ(rig.violations(), std::vector<std::string>{}) << "after release";
  test_support::expect_vendor_lock_free(context + " (after release)");
  return calls;
}

// The whole sweep of one scenario; returns the number of cases run. Stops at the first case that fails, so that one
// broken rule is reported once rather than for every later case.
inline std::size_t sweep(Scenario& scenario) {
  const VendorFailure none;
  const std::vector<sim::VendorCall> healthy = run_case(scenario, nullptr, none);
  {
    SCOPED_TRACE(scenario.name() + ": healthy calls");
    scenario.check_healthy_calls(healthy);
  }
  std::size_t cases = 1;
  if (::testing::Test::HasFailure()) {
    return cases;
  }
  for (const FailurePoint& point : failure_points(healthy)) {
    for (const VendorFailure& failure : sweep_failures()) {
      run_case(scenario, &point, failure);
      ++cases;
      if (::testing::Test::HasFailure()) {
        count_cases(cases);
        return cases;
      }
    }
  }
  count_cases(cases);
  std::printf("[ sweep    ] %s: %zu vendor calls, %zu cases\n", scenario.name().c_str(), healthy.size(), cases);
  return cases;
}

}  // namespace tovanel::uvc_stereo::sweeps
