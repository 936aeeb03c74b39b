#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>

#include "flash/small_stack_thread.h"

namespace tovanel::uvc_stereo::test_support {
namespace {

struct ThreadStart {
  void (*body)(void*) noexcept;
  void* context;
};

void* small_stack_entry(void* start) {
  const auto& thread_start = *static_cast<const ThreadStart*>(start);
  thread_start.body(thread_start.context);
  return nullptr;
}

}  // namespace

bool run_on_small_stack(std::size_t stack_bytes, void (*body)(void*) noexcept, void* context) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) {
    return false;
  }
  ThreadStart start{body, context};
  pthread_t thread;
  const bool started = pthread_attr_setstacksize(&attributes, stack_bytes) == 0 &&
                       pthread_create(&thread, &attributes, &small_stack_entry, &start) == 0;
  pthread_attr_destroy(&attributes);
  return started && pthread_join(thread, nullptr) == 0;
}

namespace {

struct ThreadProbe {
  pthread_t caller;
  bool ran = false;
  bool on_another_thread = false;
};

void probe_thread(void* context) noexcept {
  auto& probe = *static_cast<ThreadProbe*>(context);
  probe.ran = true;
  probe.on_another_thread = pthread_equal(probe.caller, pthread_self()) == 0;
}

TEST(SmallStackThread, RunsTheBodyOnAnotherThreadAndWaitsForIt) {
  ThreadProbe probe{pthread_self()};
  ASSERT_TRUE(run_on_small_stack(kSmallThreadStackBytes, &probe_thread, &probe));
  EXPECT_TRUE(probe.ran);
  EXPECT_TRUE(probe.on_another_thread);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::test_support
