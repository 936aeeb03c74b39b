#include <gtest/gtest.h>
#include <process.h>

#include <cstddef>
#include <cstdint>
#include <limits>

#include "bridge/os/windows_api_win.h"
#include "flash/small_stack_thread.h"

namespace tovanel::uvc_stereo::test_support {
namespace {

struct ThreadStart {
  void (*body)(void*) noexcept;
  void* context;
};

unsigned __stdcall small_stack_entry(void* start) {
  const auto& thread_start = *static_cast<const ThreadStart*>(start);
  thread_start.body(thread_start.context);
  return 0;
}

}  // namespace

bool run_on_small_stack(std::size_t stack_bytes, void (*body)(void*) noexcept, void* context) {
  if (stack_bytes == 0 || stack_bytes > std::numeric_limits<unsigned>::max()) {
    return false;
  }
  ThreadStart start{body, context};
  // Without the reservation flag the size would only be the initial commit, and the thread would get the
  // executable's default reservation instead of the small stack under test.
  const std::uintptr_t handle = _beginthreadex(nullptr, static_cast<unsigned>(stack_bytes), &small_stack_entry, &start,
                                               STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (handle == 0) {
    return false;
  }
  const HANDLE thread = reinterpret_cast<HANDLE>(handle);
  const bool finished = WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0;
  CloseHandle(thread);
  return finished;
}

namespace {

struct ThreadProbe {
  DWORD caller_id;
  bool ran = false;
  bool on_another_thread = false;
};

void probe_thread(void* context) noexcept {
  auto& probe = *static_cast<ThreadProbe*>(context);
  probe.ran = true;
  probe.on_another_thread = GetCurrentThreadId() != probe.caller_id;
}

TEST(SmallStackThread, RunsTheBodyOnAnotherThreadAndWaitsForIt) {
  ThreadProbe probe{GetCurrentThreadId()};
  ASSERT_TRUE(run_on_small_stack(kSmallThreadStackBytes, &probe_thread, &probe));
  EXPECT_TRUE(probe.ran);
  EXPECT_TRUE(probe.on_another_thread);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::test_support
