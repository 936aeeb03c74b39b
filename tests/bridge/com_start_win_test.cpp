#include "bridge/os/com_start_win.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "counting_capture_calls_win.h"
#include "fake_capture_system_win.h"

namespace tovanel::uvc_stereo::win_detail {
namespace {

using ComStart = win_testing::FakeCaptureSystemTest;

const std::string kApartment = "CoInitializeEx(apartment)";
const std::string kMultithreaded = "CoInitializeEx(multithreaded)";
const std::string kUninitialize = "CoUninitialize";

TEST_F(ComStart, AFreshThreadGetsAnApartmentThatIsUninitialisedOnce) {
  system_.co_initialize_results = {S_OK};
  {
    ComScope com;
    const Status started = com.start();
    ASSERT_TRUE(started.ok()) << started.message();
    EXPECT_TRUE(com.must_uninitialize());
    EXPECT_EQ(system_.count(kUninitialize), 0u) << "COM stays up while the scope lives";
  }
  EXPECT_EQ(system_.events, (std::vector<std::string>{kApartment, kUninitialize}));
}

TEST_F(ComStart, AThreadAlreadyInAnApartmentIsUninitialisedOnceToo) {
  system_.co_initialize_results = {S_FALSE};
  {
    ComScope com;
    ASSERT_TRUE(com.start().ok());
  }
  EXPECT_EQ(system_.events, (std::vector<std::string>{kApartment, kUninitialize}));
}

TEST_F(ComStart, AThreadInTheMultithreadedApartmentJoinsItAndIsUninitialisedOnce) {
  system_.co_initialize_results = {RPC_E_CHANGED_MODE, S_FALSE};
  {
    ComScope com;
    const Status started = com.start();
    ASSERT_TRUE(started.ok()) << started.message();
    EXPECT_TRUE(com.must_uninitialize());
  }
  EXPECT_EQ(system_.events, (std::vector<std::string>{kApartment, kMultithreaded, kUninitialize}));
}

TEST_F(ComStart, AThreadThatRefusesBothModesKeepsItsOwnAndNothingIsUndone) {
  system_.co_initialize_results = {RPC_E_CHANGED_MODE, RPC_E_CHANGED_MODE};
  {
    ComScope com;
    const Status started = com.start();
    ASSERT_TRUE(started.ok()) << started.message();
    EXPECT_FALSE(com.must_uninitialize());
  }
  EXPECT_EQ(system_.events, (std::vector<std::string>{kApartment, kMultithreaded}));
}

TEST_F(ComStart, AnyOtherFailureIsAPlatformErrorNamingTheHresult) {
  system_.co_initialize_results = {E_OUTOFMEMORY};
  {
    ComScope com;
    const Status started = com.start();
    EXPECT_EQ(started.code(), ErrorCode::PlatformError);
    EXPECT_EQ(started.message(), "CoInitializeEx failed: hr=0x8007000E");
    EXPECT_FALSE(com.must_uninitialize());
  }
  EXPECT_EQ(system_.events, (std::vector<std::string>{kApartment})) << "no second attempt, nothing undone";
}

TEST_F(ComStart, AFailedMultithreadedAttemptIsReportedWithItsOwnHresult) {
  system_.co_initialize_results = {RPC_E_CHANGED_MODE, CO_E_NOTINITIALIZED};
  {
    ComScope com;
    const Status started = com.start();
    EXPECT_EQ(started.code(), ErrorCode::PlatformError);
    EXPECT_EQ(started.message(), "CoInitializeEx failed: hr=0x800401F0");
  }
  EXPECT_EQ(system_.count(kUninitialize), 0u);
}

TEST_F(ComStart, TheScopeUninitialisesWhenLeftByAnException) {
  system_.co_initialize_results = {S_OK};
  EXPECT_THROW(
      {
        ComScope com;
        EXPECT_TRUE(com.start().ok());
        throw std::runtime_error("left early");
      },
      std::runtime_error);
  EXPECT_EQ(system_.count(kUninitialize), 1u);
}

// The apartment of the calling thread as COM itself reports it; CO_E_NOTINITIALIZED
// when the thread has no COM at all.
HRESULT apartment_of_this_thread(APTTYPE& type) {
  APTTYPEQUALIFIER qualifier{};
  return CoGetApartmentType(&type, &qualifier);
}

// What a real listing did on a thread that was put in the multithreaded apartment by its
// owner before the listing ran.
struct MultithreadedThreadOutcome {
  HRESULT owner_start = E_FAIL;
  bool listing_ok = false;
  std::string listing_message;
  std::vector<HRESULT> answers;
  int uninitialize_calls = -1;
  HRESULT apartment_query = E_FAIL;
  APTTYPE apartment_after = APTTYPE_CURRENT;
};

template <typename Listing>
MultithreadedThreadOutcome list_on_a_multithreaded_thread(Listing listing) {
  MultithreadedThreadOutcome outcome;
  std::thread thread([&] {
    outcome.owner_start = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    {
      const win_testing::CountingSystemCalls counting;
      const Result<std::vector<WinOpenCvCameraCandidate>> listed = listing();
      outcome.listing_ok = listed.ok();
      outcome.listing_message = listed.status().message();
      outcome.answers = counting.co_initialize_answers();
      outcome.uninitialize_calls = counting.co_uninitialize_calls();
    }
    outcome.apartment_query = apartment_of_this_thread(outcome.apartment_after);
    if (SUCCEEDED(outcome.owner_start)) {
      CoUninitialize();
    }
  });
  thread.join();
  return outcome;
}

void expect_the_owners_apartment_untouched(const MultithreadedThreadOutcome& outcome) {
  ASSERT_EQ(outcome.owner_start, S_OK);
  EXPECT_TRUE(outcome.listing_ok) << outcome.listing_message;
  EXPECT_EQ(outcome.answers, (std::vector<HRESULT>{RPC_E_CHANGED_MODE, S_FALSE}));
  EXPECT_EQ(outcome.uninitialize_calls, 1);
  EXPECT_EQ(outcome.apartment_query, S_OK) << "the owner's COM is still up";
  EXPECT_EQ(outcome.apartment_after, APTTYPE_MTA);
}

TEST(ComStartOnThisSystem, DirectShowListingOnAMultithreadedThreadUninitialisesExactlyOnce) {
  expect_the_owners_apartment_untouched(list_on_a_multithreaded_thread(&enumerate_dshow_backend_candidates));
}

TEST(ComStartOnThisSystem, MediaFoundationListingOnAMultithreadedThreadUninitialisesExactlyOnce) {
  expect_the_owners_apartment_untouched(list_on_a_multithreaded_thread(&enumerate_msmf_backend_candidates));
}

TEST(ComStartOnThisSystem, AListingOnAThreadWithoutComLeavesNoComBehind) {
  std::vector<HRESULT> answers;
  int uninitialize_calls = -1;
  HRESULT before = S_OK;
  HRESULT after = S_OK;
  std::thread thread([&] {
    APTTYPE type{};
    before = apartment_of_this_thread(type);
    {
      const win_testing::CountingSystemCalls counting;
      static_cast<void>(enumerate_dshow_backend_candidates());
      static_cast<void>(enumerate_msmf_backend_candidates());
      answers = counting.co_initialize_answers();
      uninitialize_calls = counting.co_uninitialize_calls();
    }
    after = apartment_of_this_thread(type);
  });
  thread.join();
  EXPECT_EQ(before, CO_E_NOTINITIALIZED);
  EXPECT_EQ(answers, (std::vector<HRESULT>{S_OK, S_OK}));
  EXPECT_EQ(uninitialize_calls, 2);
  EXPECT_EQ(after, CO_E_NOTINITIALIZED);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail
