#pragma once

#include <cstddef>

// Runs code on a fresh thread whose stack is exactly as large as asked, so that tests can prove a scanner does not
// need the caller's stack to grow with its input. One definition per platform: pthread attributes off Windows, an
// explicit stack reservation on Windows.
namespace tovanel::uvc_stereo::test_support {

// The smallest stack an application thread commonly runs with.
inline constexpr std::size_t kSmallThreadStackBytes = std::size_t{1} << 20;

// Calls `body(context)` on a new thread with a stack of `stack_bytes` and waits for it to finish. False when the
// thread could not be started or joined; `body` must not throw.
[[nodiscard]] bool run_on_small_stack(std::size_t stack_bytes, void (*body)(void*) noexcept, void* context);

}  // namespace tovanel::uvc_stereo::test_support
